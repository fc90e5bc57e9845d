#include "assistant/tool_cards.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace larkspool {
namespace {

using Tone = ToolResultCard::Tone;

ToolCallCard::Friendly patch(const std::string& operations)
{
    return ToolCallCard{"apply_patch", JSON::decode(R"({"operations":)" + operations + "}")}.friendly();
}

TEST(ToolCallCard, SaysInPlainWordsWhatIsDone)
{
    EXPECT_EQ((ToolCallCard{"get_document", JSON::Object{}}.friendly()),
              (ToolCallCard::Friendly{"Reading the scene", "doc.text.magnifyingglass", std::nullopt}));
    EXPECT_EQ(patch(R"([{"op":"add_pulse"}])"), (ToolCallCard::Friendly{"Applying changes", "wand.and.stars", "add pulse"}));
    EXPECT_EQ((ToolCallCard{"paint", JSON::decode(R"({"operations":[{"op":"add_pulse"}]})")}.friendly()),
              (ToolCallCard::Friendly{"paint", "wrench.and.screwdriver", std::nullopt}));
}

TEST(ToolCallCard, EachKindOfOperationHasItsWord)
{
    struct Case {
        const char* op;
        const char* word;
    };
    for (const Case& c :
         {Case{"set_scene_property", "edit scene"}, Case{"set_property", "edit layer"}, Case{"add_keyframe", "add keyframe"},
          Case{"delete_keyframe", "remove keyframe"}, Case{"add_pulse", "add pulse"}, Case{"delete_pulse", "remove pulse"},
          Case{"add_layer", "add layer"}, Case{"delete_layer", "remove layer"}}) {
        SCOPED_TRACE(c.op);
        EXPECT_EQ(patch(R"([{"op":")" + std::string(c.op) + R"("}])").badge, c.word);
    }
}

TEST(ToolCallCard, TheBadgeCountsTheOperationsAndSortsTheirWords)
{
    struct Case {
        const char* when;
        const char* operations;
        std::optional<std::string> badge;
    };
    for (const Case& c : std::vector<Case>{
             {"none", "[]", std::nullopt},
             {"one", R"([{"op":"set_property"}])", "edit layer"},
             {"one that is not known", R"([{"op":"paint"}])", "1 change"},
             {"one without a kind", R"([{"layer_id":"x"}])", "1 change"},
             {"one that is no object", "[3]", "1 change"},
             {"two of a kind", R"([{"op":"add_keyframe"},{"op":"add_keyframe"}])", "2 changes · add keyframe ×2"},
             {"several kinds", R"([{"op":"set_property"},{"op":"add_layer"},{"op":"set_property"},{"op":"delete_pulse"}])",
              "4 changes · add layer, edit layer ×2, remove pulse"},
             {"some that are not known", R"([{"op":"paint"},{"op":"add_layer"},{"op":7}])", "3 changes · add layer"},
             {"all not known", R"([{"op":"paint"},{}])", "2 changes"},
         }) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(patch(c.operations).badge, c.badge);
    }
}

TEST(ToolCallCard, WithoutAListThereIsNoBadge)
{
    for (const char* input : {"{}", "[]", "null", R"({"operations":{}})", R"({"operations":"all"})"}) {
        SCOPED_TRACE(input);
        EXPECT_EQ((ToolCallCard{"apply_patch", JSON::decode(input)}.friendly().badge), std::nullopt);
    }
}

TEST(ToolCallCard, IsClosedAtFirstAndOpensToItsInputInFull)
{
    const ToolCallCard card{"apply_patch", JSON::decode(R"({"operations":[{"op":"paint","color":"é"}]})")};
    EXPECT_FALSE(card.expanded);
    EXPECT_EQ(ToolCallCard::prettyJSON(card.input), "{\n"
                                                    "  \"operations\": [\n"
                                                    "    {\n"
                                                    "      \"color\": \"é\",\n"
                                                    "      \"op\": \"paint\"\n"
                                                    "    }\n"
                                                    "  ]\n"
                                                    "}");
}

TEST(ToolResultCard, SaysInOneLineWhatCameOfIt)
{
    const std::string green = "checkmark.circle", red = "exclamationmark.triangle";
    struct Case {
        const char* when;
        ToolResultCard card;
        ToolResultCard::Summary summary;
    };
    for (const Case& c : std::vector<Case>{
             {"a patch", {"applied 3 operation(s)", false}, {"Applied 3 change(s)", green, Tone::good}},
             {"the scene", {"{\n  \"scene\": {}\n}", false}, {"Read the scene", green, Tone::good}},
             {"something else", {"All is well\nand more", false}, {"All is well", green, Tone::good}},
             {"nothing", {"", false}, {"", green, Tone::good}},
             {"a word that only begins like a patch", {"appliedly", false}, {"appliedly", green, Tone::good}},
             {"an error", {"op 1: Unknown op paint", true}, {"Something went wrong: op 1: Unknown op paint", red, Tone::bad}},
             {"an error that looks like a patch",
              {"applied 3 operation(s)", true},
              {"Something went wrong: applied 3 operation(s)", red, Tone::bad}},
             {"an error that looks like a scene", {"{", true}, {"Something went wrong: {", red, Tone::bad}},
             {"an error of several lines", {"first\nsecond", true}, {"Something went wrong: first", red, Tone::bad}},
             // "Something went wrong: " has 22 characters, so that 58 are left.
             {"a long error",
              {std::string(200, 'x'), true},
              {"Something went wrong: " + std::string(58, 'x') + "…", red, Tone::bad}},
         }) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(c.card.summary(), c.summary);
    }
}

TEST(ToolResultCard, IsClosedAtFirstAndOpensToItsContentInFull)
{
    EXPECT_FALSE((ToolResultCard{"applied 3 operation(s)", false}.expanded));
    EXPECT_EQ((ToolResultCard{"one\ntwo", false}.details()), "one\ntwo");
    EXPECT_EQ((ToolResultCard{"", false}.details()), "(empty)");
    EXPECT_EQ((ToolResultCard{"", true}.details()), "(empty)");
}

TEST(ToolResultCard, ShortensToEightyCharactersOfTheFirstLine)
{
    const std::string eighty(80, 'x');
    struct Case {
        const char* when;
        std::string text;
        std::string shortened;
    };
    for (const Case& c : std::vector<Case>{
             {"80 characters", eighty, eighty},
             {"81 characters", eighty + "y", eighty + "…"},
             {"a short first line", "short\n" + eighty + eighty, "short"},
             {"a line that ends as on other systems", "short\r\nlong", "short"},
             {"an empty first line", "\nsecond", ""},
             {"a character of several parts", eighty.substr(1) + "e\u0301z", eighty.substr(1) + "e\u0301…"},
             {"80 wide characters", eighty.substr(1) + "👩‍🚀", eighty.substr(1) + "👩‍🚀"},
         }) {
        SCOPED_TRACE(c.when);
        EXPECT_EQ(ToolResultCard::shortened(c.text), c.shortened);
    }
}

TEST(ToolCards, TheChevronPointsWhereTheCardGoes)
{
    EXPECT_EQ(chevronGlyph(ToolResultCard{}.expanded), "chevron.right");
    EXPECT_EQ(chevronGlyph(ToolResultCard{.expanded = true}.expanded), "chevron.down");
}

} // namespace
} // namespace larkspool
