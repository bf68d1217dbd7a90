#include "GraphDocument.hpp"

#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>
#include <vector>

namespace tavreldi_tool {

namespace {

using nlohmann::json;

// Estimates of the memory things take with libstdc++ and glibc: a value in an array (16
// bytes, with room to grow), a map node of an object member, the heap block behind a string,
// an object or an array, and a shared block of names or text.
constexpr std::uint64_t kElementCost = 32;
constexpr std::uint64_t kMemberCost = 96;
constexpr std::uint64_t kStringCost = 48;
constexpr std::uint64_t kContainerCost = 64;
constexpr std::uint64_t kBlockCost = 48;

// The characters of a text too long for the short-string buffer.
constexpr std::uint64_t heapBytes(std::size_t length) noexcept {
  return length < 16 ? 0 : length + 17;
}

std::uint64_t namesCost(const tavreldi::NameList& names) {
  std::uint64_t cost = names.empty() ? 0 : 2 * kBlockCost;
  for (const tavreldi::Name& name : names) cost += sizeof(tavreldi::Name) + name.size();
  return cost;
}

std::uint64_t metadataCost(const tavreldi::Metadata& metadata) {
  std::uint64_t cost = metadata.empty() ? 0 : kBlockCost;
  for (const auto& [key, value] : metadata.map()) {
    cost += kMemberCost + heapBytes(key.size()) + heapBytes(value.size());
  }
  return cost;
}

// What a decoded record takes, its place in a growing vector included.
std::uint64_t recordCost(const tavreldi::DependencyNode& node) {
  return 2 * sizeof(node) + kBlockCost + node.id.size() + namesCost(node.dependencies) +
         namesCost(node.tags) + metadataCost(node.metadata);
}
std::uint64_t recordCost(const tavreldi::DependencyEdge& edge) {
  return 2 * sizeof(edge) + 2 * kBlockCost + edge.from.size() + edge.to.size() +
         heapBytes(edge.relationship.size()) + metadataCost(edge.metadata);
}

// The records of a top-level "nodes" or "edges" array, decoded element by element, and the
// first error met (worded as the library words an error in a list under a key).
template <class Record>
struct Stream {
  explicit Stream(std::string_view name) : key(name) {}

  std::string_view key;
  std::vector<Record> records;
  std::optional<std::string> error;
  bool present = false;

  void restart() {
    records.clear();
    error.reset();
    present = true;
  }
  // Decodes `element` unless an earlier one failed; returns what the record takes.
  std::uint64_t decode(const json& element) {
    if (error) return 0;
    try {
      records.push_back(element.get<Record>());
      return recordCost(records.back());
    } catch (const tavreldi::DecodingError& e) {
      error = "Invalid value for key \"" + std::string(key) + "\": " + e.what();
    } catch (const json::exception& e) {
      error = "Type mismatch for key \"" + std::string(key) + "\": " + e.what();
    }
    return 0;
  }
};

// Builds the document from the parser's events as nlohmann's own builder does, except that
// each element of the top-level "nodes" and "edges" arrays is decoded as soon as it is
// complete and then dropped (the arrays stay empty in the document).
class Builder {
 public:
  explicit Builder(std::uint64_t budget) : budget_(budget) {}

  bool null() { return add(nullptr); }
  bool boolean(bool value) { return add(value); }
  bool number_integer(json::number_integer_t value) { return add(value); }
  bool number_unsigned(json::number_unsigned_t value) { return add(value); }
  bool number_float(json::number_float_t value, const json::string_t& /*text*/) {
    return add(value);
  }
  bool string(json::string_t& value) {
    return charge(kStringCost + heapBytes(value.size())) && add(std::move(value));
  }
  bool binary(json::binary_t& value) { return add(json::binary(std::move(value))); }
  bool start_object(std::size_t /*size*/) { return open(json::object()); }
  bool key(json::string_t& name) {
    if (!charge(kMemberCost + heapBytes(name.size()))) return false;
    atTop_ = stack_.size() == 1;
    if (atTop_) lastKey_ = name;
    member_ = &stack_.back()->get_ref<json::object_t&>()[std::move(name)];
    return true;
  }
  bool end_object() { return close(); }
  bool start_array(std::size_t /*size*/) {
    const bool top = stack_.size() == 1 && stack_.back()->is_object() && atTop_;
    if (!open(json::array())) return false;
    if (top && lastKey_ == nodes.key) {
      streaming_ = stack_.back();
      streamingNodes_ = true;
      nodes.restart();
    } else if (top && lastKey_ == edges.key) {
      streaming_ = stack_.back();
      streamingNodes_ = false;
      edges.restart();
    }
    return true;
  }
  bool end_array() {
    if (!stack_.empty() && stack_.back() == streaming_) streaming_ = nullptr;
    return close();
  }
  bool parse_error(std::size_t position, const std::string& /*token*/,
                   const json::exception& error) {
    error_ = GraphDocumentError{GraphDocumentError::Kind::malformed, position, error.what()};
    return false;
  }

  [[nodiscard]] bool overBudget() const noexcept { return used_ > budget_; }
  [[nodiscard]] const std::optional<GraphDocumentError>& error() const noexcept { return error_; }
  [[nodiscard]] json& document() noexcept { return root_; }

  Stream<tavreldi::DependencyNode> nodes{"nodes"};
  Stream<tavreldi::DependencyEdge> edges{"edges"};

 private:
  bool charge(std::uint64_t bytes) noexcept {
    used_ += bytes;
    return used_ <= budget_;
  }

  // Puts `value` where the parser is: the root, the next array element or the member whose
  // key came last.
  json* place(json&& value) {
    if (stack_.empty()) {
      root_ = std::move(value);
      return &root_;
    }
    if (stack_.back()->is_array()) {
      auto& array = stack_.back()->get_ref<json::array_t&>();
      array.push_back(std::move(value));
      return &array.back();
    }
    *member_ = std::move(value);
    return member_;
  }
  bool placeCharged(json&& value, bool container) {
    if (!stack_.empty() && stack_.back() == streaming_) elementStart_ = used_;
    if (!stack_.empty() && stack_.back()->is_array() && !charge(kElementCost)) return false;
    if (container && !charge(kContainerCost)) return false;
    json* placed = place(std::move(value));
    if (container) {
      stack_.push_back(placed);
    } else if (stack_.back() == streaming_) {
      return finishElement();
    }
    return true;
  }
  template <class Value>
  bool add(Value&& value) {
    return placeCharged(json(std::forward<Value>(value)), false);
  }
  bool open(json&& container) { return placeCharged(std::move(container), true); }
  bool close() {
    stack_.pop_back();
    return stack_.empty() || stack_.back() != streaming_ || finishElement();
  }
  // The last element of the streamed array is complete: its parsed form gives way to the
  // decoded record.
  bool finishElement() {
    auto& array = streaming_->get_ref<json::array_t&>();
    const std::uint64_t record =
        streamingNodes_ ? nodes.decode(array.back()) : edges.decode(array.back());
    array.pop_back();
    used_ = elementStart_;
    return charge(record);
  }

  std::uint64_t budget_;
  std::uint64_t used_ = 0;
  json root_;
  std::vector<json*> stack_;
  json* member_ = nullptr;
  bool atTop_ = false;         // the last key belongs to the root object
  std::string lastKey_;        // the last key of the root object
  json* streaming_ = nullptr;  // the array whose elements are decoded as they complete
  bool streamingNodes_ = false;
  std::uint64_t elementStart_ = 0;  // the estimate before the current element
  std::optional<GraphDocumentError> error_;
};

}  // namespace

GraphDocument readGraphDocument(std::istream& in, std::uint64_t budget) {
  GraphDocument result;
  Builder builder(budget);
  const bool parsed = json::sax_parse(in, &builder);
  if (!parsed) {
    result.error = builder.overBudget()
                       ? GraphDocumentError{GraphDocumentError::Kind::overBudget, 0, {}}
                       : builder.error().value_or(
                             GraphDocumentError{GraphDocumentError::Kind::malformed, 0, {}});
    return result;
  }
  const json& root = builder.document();
  // The library reads "nodes", then "edges", then "analysis": report the first failure in
  // that order, the streamed arrays' own included.
  const auto notAGraph = [&](std::string message) {
    result.error = GraphDocumentError{GraphDocumentError::Kind::notAGraph, 0, std::move(message)};
    return result;
  };
  if (root.is_object() && root.contains("nodes") && builder.nodes.error) {
    return notAGraph(*builder.nodes.error);
  }
  if (root.is_object() && root.contains("nodes") && root.contains("edges") && builder.edges.error) {
    return notAGraph(*builder.edges.error);
  }
  try {
    result.graph = root.get<tavreldi::DependencyGraph>();
  } catch (const tavreldi::DecodingError& error) {
    return notAGraph(error.what());
  } catch (const json::exception& error) {
    return notAGraph(error.what());
  }
  if (builder.nodes.present) result.graph->nodes = std::move(builder.nodes.records);
  if (builder.edges.present) result.graph->edges = std::move(builder.edges.records);
  return result;
}

}  // namespace tavreldi_tool
