#include "tavreldi/graph/Name.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sstream>
#include <stdexcept>
#include <string>
#include <unordered_set>
#include <vector>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {
namespace {

using Strings = std::vector<std::string>;

TEST(NameTest, ReadsComparesAndJoinsLikeText) {
  const std::string text = "UserService";
  const Name name = text;
  const Name copy = name;  // shares the text
  EXPECT_EQ(copy.data(), name.data());
  EXPECT_NE(name.data(), text.data());  // made from a text: a copy of its own

  EXPECT_TRUE(name == "UserService" && "UserService" == name);
  EXPECT_TRUE(name == text && text == name && name == std::string_view(text));
  EXPECT_TRUE(name != "UserServic" && name != Name("UserServices"));
  EXPECT_TRUE(Name("A") < Name("B") && Name("B") > "A" && "A" < Name("AB"));
  EXPECT_EQ(name + ">" + Name("Logger"), "UserService>Logger");
  EXPECT_EQ(std::string("<") + name, "<UserService");
  EXPECT_EQ(name + name, "UserServiceUserService");

  std::ostringstream out;
  out << name << '|' << Name();
  EXPECT_EQ(out.str(), "UserService|");
  EXPECT_TRUE(Name().empty() && Name("").empty() && Name() == "");

  // Hashed by the text, not by where it lies.
  EXPECT_EQ((std::unordered_set<Name>{"A", "B", Name("A")}.size()), 2U);

  const nlohmann::json json = name;
  EXPECT_EQ(json.dump(), "\"UserService\"");
  EXPECT_EQ(json.get<Name>(), name);
  EXPECT_THROW((void)nlohmann::json(3).get<Name>(), DecodingError);
}

TEST(NameTest, ListsReadLikeVectorsAndShareOnCopy) {
  const NameList fromNames{"A", "B", "C"};
  const NameList fromTexts(Strings{"A", "B", "C"});
  EXPECT_EQ(fromNames, fromTexts);
  EXPECT_EQ(fromTexts, (Strings{"A", "B", "C"}));
  EXPECT_NE(fromTexts, (Strings{"A", "B"}));
  EXPECT_NE(fromTexts, (NameList{"A", "B", "D"}));
  EXPECT_EQ(fromTexts.strings(), (Strings{"A", "B", "C"}));
  EXPECT_EQ(fromTexts.at(1), "B");
  EXPECT_THROW((void)fromTexts.at(3), std::out_of_range);
  EXPECT_TRUE(fromTexts.contains("C") && !fromTexts.contains("D"));

  NameList copy = fromTexts;
  EXPECT_EQ(copy.data(), fromTexts.data());
  copy = {"X"};  // assigning another list leaves the first alone
  EXPECT_EQ(fromTexts, (Strings{"A", "B", "C"}));
  EXPECT_EQ(copy, (Strings{"X"}));

  // A list made from texts packs their characters, and its names live as long as any copy.
  Name kept;
  {
    const NameList packed(Strings{"First", "Second"});
    EXPECT_EQ(packed[1].data(), packed[0].data() + 5);
    kept = packed[1];
  }
  EXPECT_EQ(kept, "Second");

  const NameList empty;
  EXPECT_TRUE(empty.empty() && empty == NameList(Strings{}) && empty == Strings{});
  EXPECT_EQ(nlohmann::json(empty).dump(), "[]");
  const nlohmann::json json = fromTexts;
  EXPECT_EQ(json.dump(), R"(["A","B","C"])");
  EXPECT_EQ(json.get<NameList>(), fromTexts);
  for (const char* bad : {R"({"a":1})", R"(["A",2])", "\"A\""}) {
    EXPECT_THROW((void)nlohmann::json::parse(bad).get<NameList>(), DecodingError) << bad;
  }
}

}  // namespace
}  // namespace tavreldi
