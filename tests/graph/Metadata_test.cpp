#include "tavreldi/graph/Metadata.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {
namespace {

using Map = Metadata::Map;

// Copies share entries until one changes; a change never shows through another copy.
TEST(MetadataTest, CopiesAreIndependentAfterAChange) {
  const Metadata original{{"scope", "singleton"}, {"created_at", "2026-11-22T08:00:00Z"}};
  Metadata copy = original;
  EXPECT_EQ(&copy.map(), &original.map());  // shared, not duplicated

  copy.insert_or_assign("scope", "transient");
  copy.insert_or_assign("extra", "1");
  EXPECT_EQ(original.at("scope"), "singleton");
  EXPECT_EQ(original.size(), 2U);
  EXPECT_EQ(copy,
            (Map{{"scope", "transient"}, {"created_at", "2026-11-22T08:00:00Z"}, {"extra", "1"}}));

  Metadata sole{{"a", "1"}};
  const Map* before = &sole.map();
  sole.insert_or_assign("a", "2");  // sole owner: changed in place
  EXPECT_EQ(&sole.map(), before);

  Metadata third = copy;
  EXPECT_EQ(third.erase("extra"), 1U);
  EXPECT_EQ(third.erase("missing"), 0U);
  EXPECT_TRUE(copy.contains("extra") && !third.contains("extra"));
  third.clear();
  EXPECT_TRUE(third.empty());
}

TEST(MetadataTest, JsonIsAnObjectOfTexts) {
  const Metadata metadata{{"strength", "Strong"}, {"relationship_type", "DataFlow"}};
  const nlohmann::json json = metadata;
  EXPECT_EQ(json.dump(), R"({"relationship_type":"DataFlow","strength":"Strong"})");
  EXPECT_EQ(json.get<Metadata>(), metadata);
  EXPECT_NE(json.get<Metadata>(), Metadata({{"strength", "Strong"}}));
  EXPECT_EQ(nlohmann::json::object().get<Metadata>().size(), 0U);
  EXPECT_THROW(nlohmann::json::parse(R"({"a": 1})").get<Metadata>(), DecodingError);
  EXPECT_THROW(nlohmann::json::parse(R"(["a"])").get<Metadata>(), DecodingError);
}

}  // namespace
}  // namespace tavreldi
