#include "visualization/detail/DiagramText.hpp"

#include <array>

namespace tavreldi::detail {

namespace {

constexpr std::array<std::string_view, 6> kScopeColors{"e1f5fe", "e8f5e8", "f3e5f5",
                                                       "fff3e0", "e3f2fd", "fce4ec"};
static_assert(kScopeColors.size() == EnumTraits<DependencyScope>::rawValues.size());

constexpr bool isContinuation(char c) noexcept {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
}

constexpr bool isIdentifierCharacter(char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

}  // namespace

std::string_view scopeColor(DependencyScope scope) noexcept {
  return kScopeColors[static_cast<std::size_t>(scope)];
}

std::size_t utf8SequenceLength(std::string_view text, std::size_t index) noexcept {
  const auto lead = static_cast<unsigned char>(text[index]);
  std::size_t length = 1;
  if ((lead & 0xE0U) == 0xC0U) {
    length = 2;
  } else if ((lead & 0xF0U) == 0xE0U) {
    length = 3;
  } else if ((lead & 0xF8U) == 0xF0U) {
    length = 4;
  }
  if (index + length > text.size()) return 1;
  for (std::size_t i = 1; i < length; ++i) {
    if (!isContinuation(text[index + i])) return 1;
  }
  return length;
}

void appendSafeIdentifier(std::string& out, std::string_view id) {
  // " ", "-" and "." become "_" like every other character a diagram identifier cannot hold;
  // a multi-byte character becomes a single "_".
  if (id.empty() || (id.front() >= '0' && id.front() <= '9')) out += '_';
  for (std::size_t i = 0; i < id.size();) {
    const std::size_t length = utf8SequenceLength(id, i);
    out += length == 1 && isIdentifierCharacter(id[i]) ? id[i] : '_';
    i += length;
  }
}

std::string safeIdentifier(std::string_view id) {
  std::string out;
  out.reserve(id.size() + 1);
  appendSafeIdentifier(out, id);
  return out;
}

void appendMermaidLabel(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '"':
        out += "#quot;";
        break;
      case '<':
        out += "#lt;";
        break;
      case '>':
        out += "#gt;";
        break;
      default:
        out += c;
    }
  }
}

void appendDotString(std::string& out, std::string_view text) {
  for (const char c : text) {
    if (c == '"' || c == '\\') out += '\\';
    out += c;
  }
}

void appendCell(std::string& out, std::string_view text, std::size_t width) {
  std::size_t characters = 0;
  std::size_t end = 0;
  while (end < text.size() && characters < width) {
    end += utf8SequenceLength(text, end);
    ++characters;
  }
  out.append(text.substr(0, end));
  out.append(width - characters, ' ');
}

}  // namespace tavreldi::detail
