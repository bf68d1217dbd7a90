#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <tuple>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/DIContainerConfig.hpp"
#include "tavreldi/core/DependencyMetadata.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/TypeName.hpp"

namespace tavreldi {
namespace {

using testing::caught;

DependencyMetadata sampleMetadata() {
  using Texts = std::vector<std::string>;
  return DependencyMetadata{
      DependencyScope::lazy, DependencyLifetime::session, false, true, Texts{"ui", "main"},
      std::map<std::string, std::string>{{"owner", "team"}},
      // registration time, type name, circular detection, priority, dependencies, thread safety
      *parseIso8601("2026-11-22T10:15:30.123Z"), "UserViewModel", true, 3, Texts{"LoadUserUseCase"},
      ThreadSafety::conditionallySafe};
}

TEST(DependencyMetadataTest, ScopeClassesDerivedPropertiesAndDescription) {
  // custom is grouped with transient: creates new instances, no caching.
  EXPECT_TRUE(createsNewInstance(DependencyScope::custom));
  EXPECT_FALSE(supportsCaching(DependencyScope::custom));
  EXPECT_TRUE(supportsCaching(DependencyScope::container));
  EXPECT_FALSE(supportsLongTermStorage(DependencyLifetime::request));
  EXPECT_TRUE(supportsLongTermStorage(DependencyLifetime::scope));

  auto metadata = sampleMetadata();
  EXPECT_TRUE(metadata.canBeCached());  // lazy scope, isLazy false
  EXPECT_FALSE(metadata.shouldPreload());
  metadata.scope = DependencyScope::singleton;
  metadata.isLazy = true;
  EXPECT_FALSE(metadata.canBeCached() || metadata.shouldPreload());
  metadata.isLazy = false;
  EXPECT_TRUE(metadata.shouldPreload());

  const auto description = [](const std::string& tags) {
    return "Dependency Metadata:\n- Type: UserViewModel\n- Scope: lazy\n- Lifetime: session\n"
           "- Lazy: false\n- Thread-Safe: true\n- Priority: 3\n- Tags: " +
           tags + "\n- Registration Time: 2026-11-22T10:15:30.123Z";
  };
  metadata = sampleMetadata();
  EXPECT_EQ(metadata.description(), description("ui, main"));
  metadata.tags.clear();
  EXPECT_EQ(metadata.description(), description(""));
}

// Equality and hashing ignore the registration time, dependencies and thread-safety; `with`
// keeps every other field but resets those last two.
TEST(DependencyMetadataTest, EqualityHashAndWith) {
  const auto a = sampleMetadata();
  auto b = a;
  b.registrationTime += std::chrono::hours(5);
  b.dependencies = {"Other"};
  b.threadSafety = ThreadSafety::unknown;
  EXPECT_EQ(a, b);
  EXPECT_EQ(std::hash<DependencyMetadata>{}(a), std::hash<DependencyMetadata>{}(b));
  b.priority = 4;
  EXPECT_NE(a, b);
  b = a;
  b.tags = {"main", "ui"};  // order matters
  EXPECT_NE(a, b);

  b = a;  // the JSON form holds every field
  b.priority = 5;
  b.dependencies = {};
  b.threadSafety = ThreadSafety::safe;
  EXPECT_EQ(nlohmann::json(a.with({.priority = 5})), nlohmann::json(b));
  b = a;
  b.scope = DependencyScope::transient;
  b.tags = {"x"};
  EXPECT_EQ(a.with({.scope = DependencyScope::transient, .tags = {{"x"}}}), b);
}

TEST(DependencyMetadataTest, JsonFormAndStrictDecoding) {
  const nlohmann::json json = sampleMetadata();
  EXPECT_EQ(json, nlohmann::json::parse(R"({"scope": "lazy", "lifetime": "session",
      "isLazy": false, "isThreadSafe": true, "tags": ["ui", "main"],
      "customData": {"owner": "team"}, "registrationTime": "2026-11-22T10:15:30.123Z",
      "typeName": "UserViewModel", "supportsCircularDetection": true, "priority": 3,
      "dependencies": ["LoadUserUseCase"], "threadSafety": "ConditionallySafe"})"));
  // Encoding the decoded value again gives the same document: every field survived.
  EXPECT_EQ(nlohmann::json(json.get<DependencyMetadata>()), json);

  // A missing key (null here), a value of the wrong type, an enumeration text or value that
  // matches no case, and a bad date: each fails naming the key.
  for (const auto& [key, value] :
       std::vector<std::pair<std::string, nlohmann::json>>{{"priority", nullptr},
                                                           {"isLazy", "no"},
                                                           {"threadSafety", "conditionallySafe"},
                                                           {"scope", 2},
                                                           {"registrationTime", "yesterday"}}) {
    auto bad = json;
    bad[key] = value;
    if (value.is_null()) bad.erase(key);
    const auto error = caught<DecodingError>([&] { (void)bad.get<DependencyMetadata>(); });
    EXPECT_NE(std::string(error.value().what()).find('"' + key + '"'), std::string::npos) << key;
  }
}

// The presets' values are part of the contract (disabled keeps metrics and caching on).
TEST(ContainerConfig, Presets) {
  using C = DIContainerConfig;
  const auto row = [](const C& c) {
    return std::tuple(c.maxCircularDependencyDepth(), c.enableCircularDependencyDetection(),
                      c.enableDependencyTracking(), c.enablePerformanceMetrics(),
                      c.enableCaching());
  };
  EXPECT_EQ(row(C::strict()), std::tuple(2, true, true, true, true));
  EXPECT_EQ(row(C::lenient()), std::tuple(5, true, true, true, true));
  EXPECT_EQ(row(C::performance()), std::tuple(3, true, false, true, true));
  EXPECT_EQ(row(C::disabled()), std::tuple(0, false, false, true, true));
}

TEST(Errors, DescriptionsJsonRoundTripAndDecodingFailures) {
  using E = DependencyResolutionError;
  const std::vector<std::pair<E, const char*>> cases{
      {E::notRegistered("A"), "Type not registered: A"},
      {E::circularDependency({"A", "B", "A"}), "Circular dependency detected: A -> B -> A"},
      {E::circularDependency({}), "Circular dependency detected: "},
      {E::scopeNotFound("s"), "Scope not found: s"},
      {E::factoryError("boom"), "Factory error: boom"},
      {E::validationError("v"), "Validation error: v"},
      {E::typeMismatch("t"), "Type mismatch: t"}};
  for (const auto& [error, text] : cases) {
    EXPECT_STREQ(error.what(), text);
    const auto decoded = dependencyResolutionErrorFromJson(nlohmann::json(error));
    EXPECT_EQ(decoded, error);
    EXPECT_STREQ(decoded.what(), text);
  }
  EXPECT_EQ(nlohmann::json(E::notRegistered("A")),
            nlohmann::json::parse(R"({"notRegistered":{"_0":"A"}})"));
  EXPECT_EQ(nlohmann::json(E::circularDependency({"A", "B"})),
            nlohmann::json::parse(R"({"circularDependency":{"_0":["A","B"]}})"));
  const std::string oneKey = "Invalid number of keys found, expected one.";
  for (const auto& [text, message] : std::vector<std::pair<const char*, std::string>>{
           {"{}", oneKey},
           {R"({"notRegistered":{"_0":"A"},"typeMismatch":{"_0":"B"}})", oneKey},
           {R"({"unknownCase":{"_0":"A"}})", "unknownCase"},
           {R"({"notRegistered":{}})", "\"_0\""}}) {
    const auto error = caught<DecodingError>(
        [text = text] { (void)dependencyResolutionErrorFromJson(nlohmann::json::parse(text)); });
    EXPECT_NE(std::string(error.value().what()).find(message), std::string::npos) << text;
  }

  const CircularDependencyException exception("M", {"A", "B"});
  EXPECT_STREQ(exception.what(), "Circular Dependency: M");
  const nlohmann::json json = exception;
  EXPECT_EQ(json, nlohmann::json::parse(R"({"message":"M","cycle":["A","B"]})"));
  EXPECT_EQ(circularDependencyExceptionFromJson(json), exception);
  EXPECT_THROW(
      (void)circularDependencyExceptionFromJson(nlohmann::json::parse(R"({"message":"M"})")),
      DecodingError);
}

TEST(TypeNames, NamespacesStrippedInEveryComponent) {
  EXPECT_EQ(typeName<sample::Logger>(), "Logger");
  EXPECT_EQ(typeName<sample::Repository<sample::User>>(), "Repository<User>");
  EXPECT_EQ((typeName<sample::Cache<sample::Key, sample::Value>>()), "Cache<Key, Value>");
  EXPECT_EQ(typeName<int>(), "int");
  EXPECT_EQ(serviceKey<sample::Logger>().qualifiedName, "sample::Logger");
  EXPECT_EQ(detail::stripNamespaces("(anonymous namespace)::Hidden"), "Hidden");
  EXPECT_EQ(detail::stripNamespaces("a::b::Outer<c::Inner<d::X>, e::Y*>"), "Outer<Inner<X>, Y*>");
  // Same unqualified name, different types: same service name, different keys.
  EXPECT_EQ(typeName<other::Logger>(), typeName<sample::Logger>());
  EXPECT_NE(serviceKey<other::Logger>().id, serviceKey<sample::Logger>().id);
  // One key per type, computed once.
  EXPECT_EQ(&serviceKey<sample::Logger>(), &serviceKey<sample::Logger>());
}

TEST(Timestamps, Iso8601AcceptsOnlyValidDates) {
  EXPECT_EQ(toIso8601(*parseIso8601("2024-01-31T12:00:00Z")), "2024-01-31T12:00:00Z");
  for (const char* bad :
       {"2024-02-30T12:00:00Z", "2024-01-31 12:00:00Z", "2024-01-31T12:00:00", ""}) {
    EXPECT_FALSE(parseIso8601(bad)) << bad;
  }
}

}  // namespace
}  // namespace tavreldi
