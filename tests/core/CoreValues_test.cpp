#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
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

TEST(DependencyMetadataTest, WithResetsDependenciesAndThreadSafety) {
  auto original = sampleMetadata();
  original.threadSafety = ThreadSafety::unsafe;
  const auto changed = original.with({.priority = 5});
  EXPECT_EQ(changed.priority, 5);
  EXPECT_TRUE(changed.dependencies.empty());
  EXPECT_EQ(changed.threadSafety, ThreadSafety::safe);
  EXPECT_EQ(changed.registrationTime, original.registrationTime);
  EXPECT_EQ(changed.tags, original.tags);
  EXPECT_EQ(changed.scope, original.scope);

  const auto rescoped = original.with({.scope = DependencyScope::transient, .tags = {{"x"}}});
  EXPECT_EQ(rescoped.scope, DependencyScope::transient);
  EXPECT_EQ(rescoped.tags, std::vector<std::string>{"x"});
  EXPECT_EQ(rescoped.priority, 3);
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

TEST(Errors, DescriptionsOfEveryCase) {
  using E = DependencyResolutionError;
  EXPECT_STREQ(E::notRegistered("A").what(), "Type not registered: A");
  EXPECT_STREQ(E::circularDependency({"A", "B", "A"}).what(),
               "Circular dependency detected: A -> B -> A");
  EXPECT_STREQ(E::circularDependency({}).what(), "Circular dependency detected: ");
  EXPECT_STREQ(E::scopeNotFound("s").what(), "Scope not found: s");
  EXPECT_STREQ(E::factoryError("boom").what(), "Factory error: boom");
  EXPECT_STREQ(E::validationError("v").what(), "Validation error: v");
  EXPECT_STREQ(E::typeMismatch("t").what(), "Type mismatch: t");
  const CircularDependencyException exception("M", {"A", "B"});
  EXPECT_STREQ(exception.what(), "Circular Dependency: M");
}

TEST(Errors, JsonRoundTripAndDecodingFailures) {
  using E = DependencyResolutionError;
  EXPECT_EQ(nlohmann::json(E::notRegistered("A")),
            nlohmann::json::parse(R"({"notRegistered":{"_0":"A"}})"));
  EXPECT_EQ(nlohmann::json(E::circularDependency({"A", "B"})),
            nlohmann::json::parse(R"({"circularDependency":{"_0":["A","B"]}})"));
  for (const auto& error :
       {E::notRegistered("A"), E::circularDependency({"A", "B", "A"}), E::scopeNotFound("s"),
        E::factoryError("f"), E::validationError("v"), E::typeMismatch("t")}) {
    const auto decoded = dependencyResolutionErrorFromJson(nlohmann::json(error));
    EXPECT_EQ(decoded, error);
    EXPECT_STREQ(decoded.what(), error.what());
  }
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
  const nlohmann::json json = exception;
  EXPECT_EQ(json, nlohmann::json::parse(R"({"message":"M","cycle":["A","B"]})"));
  EXPECT_EQ(circularDependencyExceptionFromJson(json), exception);
  EXPECT_THROW(
      (void)circularDependencyExceptionFromJson(nlohmann::json::parse(R"({"message":"M"})")),
      DecodingError);
}

TEST(ContainerConfig, PresetsAsTabled) {
  constexpr auto strict = DIContainerConfig::strict();
  static_assert(strict.maxCircularDependencyDepth() == 2);
  EXPECT_TRUE(strict.enableCircularDependencyDetection() && strict.enableDependencyTracking() &&
              strict.enablePerformanceMetrics() && strict.enableCaching());
  EXPECT_EQ(DIContainerConfig::lenient().maxCircularDependencyDepth(), 5);
  const auto performance = DIContainerConfig::performance();
  EXPECT_EQ(performance.maxCircularDependencyDepth(), 3);
  EXPECT_FALSE(performance.enableDependencyTracking());
  EXPECT_TRUE(performance.enableCircularDependencyDetection());
  const auto disabled = DIContainerConfig::disabled();
  EXPECT_EQ(disabled.maxCircularDependencyDepth(), 0);
  EXPECT_FALSE(disabled.enableCircularDependencyDetection());
  EXPECT_FALSE(disabled.enableDependencyTracking());
  EXPECT_TRUE(disabled.enablePerformanceMetrics());
  EXPECT_TRUE(disabled.enableCaching());
  EXPECT_EQ(DIContainerConfig(-4, false, false, false, false).maxCircularDependencyDepth(), -4);
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
