#include "visualization/detail/DiagramText.hpp"

#include <algorithm>
#include <array>

namespace tavreldi::detail {

namespace {

constexpr std::array<std::string_view, 6> kScopeColors{"e1f5fe", "e8f5e8", "f3e5f5",
                                                       "fff3e0", "e3f2fd", "fce4ec"};
static_assert(kScopeColors.size() == EnumTraits<DependencyScope>::rawValues.size());

constexpr bool isContinuation(char c) noexcept {
  return (static_cast<unsigned char>(c) & 0xC0U) == 0x80U;
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

namespace {

// Appends `text` for a label: a character that `escape` gives a text for as that text, an
// ASCII control character as its visible picture (U+2400 to U+2421), a byte that starts no
// well-formed UTF-8 sequence as U+FFFD, and every other character as it is.
template <class Escape>
void appendLabel(std::string& out, std::string_view text, Escape escape) {
  for (std::size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const std::size_t length = wellFormedLength(text, i);
      out.append(length == 0 ? std::string_view("\xEF\xBF\xBD") : text.substr(i, length));
      i += std::max<std::size_t>(length, 1);
      continue;
    }
    if (c < 0x20 || c == 0x7F) {
      out += "\xE2\x90";
      out += static_cast<char>(c == 0x7F ? 0xA1 : 0x80 + c);
    } else if (const std::string_view escaped = escape(text[i]); !escaped.empty()) {
      out += escaped;
    } else {
      out += static_cast<char>(c);
    }
    ++i;
  }
}

}  // namespace

std::size_t wellFormedLength(std::string_view text, std::size_t i) noexcept {
  const auto byte = [&](std::size_t k) {
    return i + k < text.size() ? static_cast<unsigned char>(text[i + k]) : 0U;
  };
  const unsigned lead = byte(0);
  const auto within = [](unsigned b, unsigned low, unsigned high) { return b >= low && b <= high; };
  std::size_t length = 0;
  unsigned low = 0x80;  // range of the second byte
  unsigned high = 0xBF;
  if (within(lead, 0xC2, 0xDF)) {
    length = 2;
  } else if (within(lead, 0xE0, 0xEF)) {
    length = 3;
    if (lead == 0xE0) low = 0xA0;   // no overlong forms
    if (lead == 0xED) high = 0x9F;  // no surrogates
  } else if (within(lead, 0xF0, 0xF4)) {
    length = 4;
    if (lead == 0xF0) low = 0x90;
    if (lead == 0xF4) high = 0x8F;  // nothing past U+10FFFF
  } else {
    return 0;
  }
  if (!within(byte(1), low, high)) return 0;
  for (std::size_t k = 2; k < length; ++k) {
    if (!within(byte(k), 0x80, 0xBF)) return 0;
  }
  return length;
}

void appendMermaidLabel(std::string& out, std::string_view text) {
  // Mermaid refuses an empty quoted label, and shows a blank one as empty.
  if (text.empty()) {
    out += ' ';
    return;
  }
  // A colon is written as an entity only where it could take part in an icon ("fa:fa-car")
  // or, next to other entities, in what Mermaid takes for a style statement.
  const bool colons = text.find_first_of("\"<>#&`\\%") != std::string_view::npos ||
                      text.find("fa-") != std::string_view::npos;
  appendLabel(out, text, [colons](char c) -> std::string_view {
    switch (c) {
      case '"':
        return "#quot;";
      case '<':
        return "#lt;";
      case '>':
        return "#gt;";
      case '&':
        return "#amp;";
      case '#':
        return "#35;";
      case '%':
        return "#37;";
      case '\\':
        return "#92;";
      case '`':
        return "#96;";
      case ':':
        return colons ? "#58;" : "";
      default:
        return "";
    }
  });
}

void appendDotString(std::string& out, std::string_view text) {
  // Graphviz reads entities in labels, so "&" is one too.
  appendLabel(out, text, [](char c) -> std::string_view {
    switch (c) {
      case '"':
        return "\\\"";
      case '\\':
        return "\\\\";
      case '&':
        return "&amp;";
      default:
        return "";
    }
  });
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
