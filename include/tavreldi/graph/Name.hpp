#pragma once

/// \file
/// Service names and lists of them, as graph nodes and edges hold them.

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace tavreldi {

class Name;

namespace detail {
/// What joins with a name by `+`: anything that converts to `std::string_view`.
template <class T>
concept JoinableText = std::convertible_to<const T&, std::string_view>;
/// The same, names aside (they take the other overload).
template <class T>
concept OtherText = JoinableText<T> && !std::same_as<T, Name>;
}  // namespace detail

/// An immutable text: the name of a service in a graph.
///
/// Copies share the text instead of copying it. The container packs the names of a graph into
/// one block, so that the tens of thousands of names in the nodes and edges of a large graph
/// cost no allocation each, and a copy of a graph costs one reference count per name. A name
/// made from a text of its own (`Name("UserService")`) holds a copy of that text.
///
/// It reads like a `std::string_view` (to which it converts), compares with any text, and is
/// changed only by assigning another name.
class Name {
 public:
  ///@{
  /// As in `std::string_view`.
  using const_iterator = std::string_view::const_iterator;
  using iterator = const_iterator;
  using size_type = std::size_t;
  ///@}

  Name() noexcept = default;
  ///@{
  /// A name holding its own copy of `text`.
  Name(std::string_view text);  // NOLINT(google-explicit-constructor): a text is a name
  Name(const std::string& text) : Name(std::string_view(text)) {}  // NOLINT(google-explicit-*)
  Name(const char* text) : Name(std::string_view(text)) {}         // NOLINT(google-explicit-*)
  ///@}
  /// A name whose text lies in a block that `owner` keeps alive.
  Name(std::shared_ptr<const void> owner, std::string_view text) noexcept
      : owner_(std::move(owner)), text_(text) {}

  ///@{
  /// The text, valid while this name (or a copy of it) lives.
  [[nodiscard]] std::string_view view() const noexcept { return text_; }
  operator std::string_view() const noexcept { return text_; }  // NOLINT(google-explicit-*)
  ///@}
  /// A `std::string` copy of the text.
  [[nodiscard]] std::string str() const { return std::string(text_); }

  /// The characters; not followed by a terminating zero.
  [[nodiscard]] const char* data() const noexcept { return text_.data(); }
  ///@{
  /// As on `std::string_view`.
  [[nodiscard]] size_type size() const noexcept { return text_.size(); }
  [[nodiscard]] bool empty() const noexcept { return text_.empty(); }
  [[nodiscard]] const_iterator begin() const noexcept { return text_.begin(); }
  [[nodiscard]] const_iterator end() const noexcept { return text_.end(); }
  ///@}

  // One comparison against `std::string_view` serves `std::string` and literals (both orders,
  // through the rewritten forms). Two names take the exact overloads, a template so that a text
  // never converts to a name for them: with `std::string_view` alone, a name against a name
  // would be ambiguous between the two argument orders.
  ///@{
  /// Compares the texts.
  friend bool operator==(const Name& a, std::string_view b) noexcept { return a.text_ == b; }
  friend std::strong_ordering operator<=>(const Name& a, std::string_view b) noexcept {
    return a.text_ <=> b;
  }
  template <std::same_as<Name> Other>
  friend bool operator==(const Name& a, const Other& b) noexcept {
    return a.text_ == b.text_;
  }
  template <std::same_as<Name> Other>
  friend std::strong_ordering operator<=>(const Name& a, const Other& b) noexcept {
    return a.text_ <=> b.text_;
  }
  ///@}

  // Concatenation gives a `std::string`, as it does for texts.
  ///@{
  /// The joined texts, as a `std::string`.
  template <detail::JoinableText Text>
  friend std::string operator+(const Name& a, const Text& b) {
    return joined(a.text_, std::string_view(b));
  }
  template <detail::OtherText Text>
  friend std::string operator+(const Text& a, const Name& b) {
    return joined(std::string_view(a), b.text_);
  }
  ///@}

  /// Writes the text.
  friend std::ostream& operator<<(std::ostream& out, const Name& name);

 private:
  [[nodiscard]] static std::string joined(std::string_view head, std::string_view tail) {
    std::string result;
    result.reserve(head.size() + tail.size());
    return result.append(head).append(tail);
  }

  std::shared_ptr<const void> owner_;  // null for the empty name
  std::string_view text_;
};

/// An immutable list of names: a node's dependencies or tags.
///
/// Copies share the list. It reads like a `const std::vector<Name>`; a new list is made from
/// names (`{"A", "B"}`) or from a vector of texts, and assigned in place of the old one.
class NameList {
 public:
  ///@{
  /// As in a `const std::vector<Name>`.
  using value_type = Name;
  using size_type = std::size_t;
  using const_iterator = const Name*;
  using iterator = const_iterator;
  using const_reference = const Name&;
  using reference = const_reference;
  ///@}

  NameList() noexcept = default;
  ///@{
  /// A list holding its own copy of `names`, in their order.
  NameList(std::initializer_list<Name> names);
  NameList(std::vector<Name> names);                // NOLINT(google-explicit-constructor)
  NameList(const std::vector<std::string>& names);  // NOLINT(google-explicit-constructor)
  ///@}
  /// A list of names that lie in a block `owner` keeps alive.
  NameList(std::shared_ptr<const void> owner, std::span<const Name> names) noexcept
      : owner_(std::move(owner)), names_(names) {}

  ///@{
  /// As on a `const std::vector<Name>` (`operator[]`, `front` and `back` unchecked).
  [[nodiscard]] bool empty() const noexcept { return names_.empty(); }
  [[nodiscard]] size_type size() const noexcept { return names_.size(); }
  [[nodiscard]] const_iterator begin() const noexcept { return names_.data(); }
  [[nodiscard]] const_iterator end() const noexcept { return names_.data() + names_.size(); }
  [[nodiscard]] const Name* data() const noexcept { return names_.data(); }
  [[nodiscard]] const Name& operator[](size_type i) const noexcept { return names_[i]; }
  ///@}
  /// The name at `i`; throws `std::out_of_range` past the end.
  [[nodiscard]] const Name& at(size_type i) const;
  ///@{
  /// The first and the last name; the list must not be empty.
  [[nodiscard]] const Name& front() const noexcept { return names_.front(); }
  [[nodiscard]] const Name& back() const noexcept { return names_.back(); }
  ///@}
  /// Whether `name` is in the list.
  [[nodiscard]] bool contains(std::string_view name) const noexcept;
  /// The names as `std::string`s.
  [[nodiscard]] std::vector<std::string> strings() const;

  ///@{
  /// Equal when the names are equal, in the same order.
  friend bool operator==(const NameList& a, const NameList& b) noexcept;
  friend bool operator==(const NameList& a, const std::vector<std::string>& b) noexcept;
  ///@}

 private:
  std::shared_ptr<const void> owner_;
  std::span<const Name> names_;
};

/// A JSON string.
void to_json(nlohmann::json& json, const Name& name);
/// Reads a JSON string; throws `DecodingError` otherwise.
void from_json(const nlohmann::json& json, Name& name);
/// A JSON array of strings.
void to_json(nlohmann::json& json, const NameList& names);
/// Reads a JSON array of strings; throws `DecodingError` otherwise.
void from_json(const nlohmann::json& json, NameList& names);

}  // namespace tavreldi

/// \cond
template <>
struct std::hash<tavreldi::Name> {
  std::size_t operator()(const tavreldi::Name& name) const noexcept {
    return std::hash<std::string_view>{}(name.view());
  }
};
/// \endcond
