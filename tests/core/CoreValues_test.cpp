#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <tuple>
#include <unordered_set>

#include "support/SampleServices.hpp"
#include "tavreldi/core/DIContainerConfig.hpp"
#include "tavreldi/core/DependencyMetadata.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/TypeName.hpp"

namespace tavreldi {
namespace {

DependencyMetadata sampleMetadata() {
  return DependencyMetadata{DependencyScope::lazy,
                            DependencyLifetime::session,
                            false,
                            true,
                            {"ui", "main"},
                            {{"owner", "team"}},
                            *parseIso8601("2026-11-22T10:15:30.123Z"),
                            "UserViewModel",
                            true,
                            3,
                            {"LoadUserUseCase"},
                            ThreadSafety::conditionallySafe};
}

TEST(Enumerations, RawValuesAreExactAndOrdered) {
  EXPECT_EQ(fromString<DependencyScope>("container"), DependencyScope::container);
  EXPECT_FALSE(fromString<DependencyScope>("Singleton"));
  EXPECT_FALSE(fromString<ThreadSafety>("safe"));
  EXPECT_EQ(fromString<ThreadSafety>("ConditionallySafe"), ThreadSafety::conditionallySafe);
  EXPECT_EQ(toString(DependencyLifetime::ephemeral), "ephemeral");
  const auto scopes = allCases<DependencyScope>();
  ASSERT_EQ(scopes.size(), 6u);
  EXPECT_EQ(scopes[5], DependencyScope::custom);
  // custom is grouped with transient: creates new instances, no caching.
  EXPECT_TRUE(createsNewInstance(DependencyScope::custom));
  EXPECT_FALSE(supportsCaching(DependencyScope::custom));
  EXPECT_TRUE(supportsCaching(DependencyScope::container));
  EXPECT_FALSE(supportsLongTermStorage(DependencyLifetime::request));
  EXPECT_TRUE(supportsLongTermStorage(DependencyLifetime::scope));

  EXPECT_EQ(nlohmann::json(DependencyScope::scoped).dump(), "\"scoped\"");
  EXPECT_THROW((void)nlohmann::json("Scoped").get<DependencyScope>(), DecodingError);
  EXPECT_THROW((void)nlohmann::json(2).get<DependencyScope>(), DecodingError);
}

TEST(DependencyMetadataTest, DerivedPropertiesAndDescription) {
  auto metadata = sampleMetadata();
  EXPECT_TRUE(metadata.canBeCached());  // lazy scope, isLazy false
  EXPECT_FALSE(metadata.shouldPreload());
  metadata.scope = DependencyScope::singleton;
  metadata.isLazy = true;
  EXPECT_FALSE(metadata.canBeCached());
  EXPECT_FALSE(metadata.shouldPreload());
  metadata.isLazy = false;
  EXPECT_TRUE(metadata.shouldPreload());

  EXPECT_EQ(sampleMetadata().description(),
            "Dependency Metadata:\n- Type: UserViewModel\n- Scope: lazy\n- Lifetime: session\n"
            "- Lazy: false\n- Thread-Safe: true\n- Priority: 3\n- Tags: ui, main\n"
            "- Registration Time: 2026-11-22T10:15:30.123Z");
  metadata.tags.clear();
  const auto text = metadata.description();
  EXPECT_NE(text.find("\n- Tags: \n- Registration Time: "), std::string::npos);
}

// Everything else is kept (equality compares the other fields).
TEST(DependencyMetadataTest, WithResetsDependenciesAndThreadSafety) {
  auto original = sampleMetadata();
  original.threadSafety = ThreadSafety::unsafe;
  const auto changed = original.with({.priority = 5});
  auto expected = original;
  expected.priority = 5;
  EXPECT_EQ(changed, expected);
  EXPECT_TRUE(changed.dependencies.empty());
  EXPECT_EQ(changed.threadSafety, ThreadSafety::safe);
  EXPECT_EQ(changed.registrationTime, original.registrationTime);

  expected = original;
  expected.scope = DependencyScope::transient;
  expected.tags = {"x"};
  EXPECT_EQ(original.with({.scope = DependencyScope::transient, .tags = {{"x"}}}), expected);
}

TEST(DependencyMetadataTest, EqualityAndHashIgnoreTimeDependenciesAndThreadSafety) {
  const auto a = sampleMetadata();
  auto b = a;
  b.registrationTime += std::chrono::hours(5);
  b.dependencies = {"Other"};
  b.threadSafety = ThreadSafety::unknown;
  EXPECT_EQ(a, b);
  EXPECT_EQ(std::hash<DependencyMetadata>{}(a), std::hash<DependencyMetadata>{}(b));
  std::unordered_set<DependencyMetadata> set{a, b};
  EXPECT_EQ(set.size(), 1u);
  b.priority = 4;
  EXPECT_NE(a, b);
  b = a;
  b.tags = {"main", "ui"};  // order matters
  EXPECT_NE(a, b);
}

TEST(DependencyMetadataTest, JsonFormAndStrictDecoding) {
  const nlohmann::json json = sampleMetadata();
  std::vector<std::string> keys;
  for (const auto& [key, value] : json.items()) keys.push_back(key);
  std::sort(keys.begin(), keys.end());
  EXPECT_EQ(keys, (std::vector<std::string>{"customData", "dependencies", "isLazy", "isThreadSafe",
                                            "lifetime", "priority", "registrationTime", "scope",
                                            "supportsCircularDetection", "tags", "threadSafety",
                                            "typeName"}));
  EXPECT_EQ(json["registrationTime"], "2026-11-22T10:15:30.123Z");
  EXPECT_EQ(json["threadSafety"], "ConditionallySafe");
  const auto decoded = json.get<DependencyMetadata>();
  EXPECT_EQ(decoded, sampleMetadata());
  EXPECT_EQ(decoded.registrationTime, sampleMetadata().registrationTime);
  EXPECT_EQ(decoded.dependencies, sampleMetadata().dependencies);
  EXPECT_EQ(decoded.threadSafety, ThreadSafety::conditionallySafe);

  auto missing = json;
  missing.erase("priority");
  try {
    (void)missing.get<DependencyMetadata>();
    FAIL() << "decoded without priority";
  } catch (const DecodingError& error) {
    EXPECT_NE(std::string(error.what()).find("\"priority\""), std::string::npos);
  }
  auto wrongType = json;
  wrongType["isLazy"] = "no";
  EXPECT_THROW((void)wrongType.get<DependencyMetadata>(), DecodingError);
  auto badDate = json;
  badDate["registrationTime"] = "yesterday";
  EXPECT_THROW((void)badDate.get<DependencyMetadata>(), DecodingError);
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
  const auto expectFailure = [](const char* text, const std::string& message) {
    try {
      (void)dependencyResolutionErrorFromJson(nlohmann::json::parse(text));
      ADD_FAILURE() << text;
    } catch (const DecodingError& error) {
      EXPECT_NE(std::string(error.what()).find(message), std::string::npos) << error.what();
    }
  };
  expectFailure("{}", "Invalid number of keys found, expected one.");
  expectFailure(R"({"notRegistered":{"_0":"A"},"typeMismatch":{"_0":"B"}})",
                "Invalid number of keys found, expected one.");
  expectFailure(R"({"unknownCase":{"_0":"A"}})", "unknownCase");
  expectFailure(R"({"notRegistered":{}})", "\"_0\"");

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

TEST(Timestamps, Iso8601BothWays) {
  const auto time = parseIso8601("2024-01-31T12:00:00.250Z");
  ASSERT_TRUE(time);
  EXPECT_EQ(toIso8601WithMilliseconds(*time), "2024-01-31T12:00:00.250Z");
  EXPECT_EQ(toIso8601(*time), "2024-01-31T12:00:00Z");
  EXPECT_EQ(toIso8601(*parseIso8601("2024-01-31T12:00:00Z")), "2024-01-31T12:00:00Z");
  EXPECT_FALSE(parseIso8601("2024-02-30T12:00:00Z"));
  EXPECT_FALSE(parseIso8601("2024-01-31 12:00:00Z"));
  EXPECT_FALSE(parseIso8601("2024-01-31T12:00:00"));
  EXPECT_FALSE(parseIso8601(""));
}

}  // namespace
}  // namespace tavreldi
