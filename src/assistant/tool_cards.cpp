#include "assistant/tool_cards.h"

#include "assistant/assistant_tools.h"
#include "foundation/text.h"

#include <algorithm>
#include <map>

#include <fmt/format.h>

namespace larkspool {

namespace {

struct OperationWord {
    std::string_view op;
    std::string_view word;
};
constexpr OperationWord operationWords[] = {
    {"set_scene_property", "edit scene"}, {"set_property", "edit layer"},
    {"add_keyframe", "add keyframe"},     {"delete_keyframe", "remove keyframe"},
    {"add_pulse", "add pulse"},           {"delete_pulse", "remove pulse"},
    {"add_layer", "add layer"},           {"delete_layer", "remove layer"},
};

const JSON::Array& operations(const JSON& patchInput)
{
    static const JSON::Array none;
    const JSON* list = patchInput["operations"];
    return list && list->array() ? *list->array() : none;
}

/// Nothing for an operation that nobody knows.
std::optional<std::string_view> wordFor(const JSON& operation)
{
    const JSON* op = operation["op"];
    if (!op || !op->string()) return std::nullopt;
    const auto found = std::ranges::find(operationWords, *op->string(), &OperationWord::op);
    if (found == std::ranges::end(operationWords)) return std::nullopt;
    return found->word;
}

/// "add keyframe ×2, edit layer"
std::string breakdown(const JSON::Array& all)
{
    std::map<std::string_view, std::size_t> counts;
    for (const JSON& operation : all)
        if (const std::optional<std::string_view> word = wordFor(operation)) ++counts[*word];

    std::string text;
    for (const auto& [word, count] : counts) {
        if (!text.empty()) text += ", ";
        text += word;
        if (count != 1) text += fmt::format(" ×{}", count);
    }
    return text;
}

std::optional<std::string> patchBadge(const JSON& patchInput)
{
    const JSON::Array& all = operations(patchInput);
    if (all.empty()) return std::nullopt;
    const std::string kinds = breakdown(all);
    if (all.size() == 1) return kinds.empty() ? "1 change" : kinds;
    return fmt::format("{} changes{}{}", all.size(), kinds.empty() ? "" : " · ", kinds);
}

std::string replaced(std::string text, std::string_view from, std::string_view to)
{
    for (std::size_t found = 0; (found = text.find(from, found)) != text.npos; found += to.size())
        text.replace(found, from.size(), to);
    return text;
}

} // namespace

ToolCallCard::Friendly ToolCallCard::friendly() const
{
    if (name == AssistantToolCatalog::getDocument().name) return {"Reading the scene", "doc.text.magnifyingglass"};
    if (name == AssistantToolCatalog::applyPatch().name) return {"Applying changes", "wand.and.stars", patchBadge(input)};
    return {name, "wrench.and.screwdriver"};
}

std::string ToolCallCard::prettyJSON(const JSON& json)
{
    return json.encoded(JsonWriter::Layout::pretty);
}

ToolResultCard::Summary ToolResultCard::summary() const
{
    constexpr std::string_view good = "checkmark.circle";
    if (isError) return {shortened("Something went wrong: " + content), "exclamationmark.triangle", Tone::bad};
    if (content.starts_with("applied "))
        return {replaced(replaced(content, "applied ", "Applied "), "operation(s)", "change(s)"), good};
    if (content.starts_with('{')) return {"Read the scene", good};
    return {shortened(content), good};
}

std::string ToolResultCard::details() const
{
    return content.empty() ? "(empty)" : content;
}

std::string ToolResultCard::shortened(std::string_view text)
{
    constexpr std::size_t longest = 80;
    const std::string_view line = text.substr(0, text.find_first_of("\r\n"));
    const std::string_view shown = firstCharacters(line, longest);
    return std::string(shown) + (shown.size() < line.size() ? "…" : "");
}

std::string_view chevronGlyph(bool expanded)
{
    return expanded ? "chevron.down" : "chevron.right";
}

std::size_t operationCount(const JSON& patchInput)
{
    return operations(patchInput).size();
}

} // namespace larkspool
