#include "app/call.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include <fmt/format.h>

namespace larkspool {

namespace {

const Option* optionNamed(const CallRules& rules, std::string_view name)
{
    const auto found = std::ranges::find(rules.options, name, &Option::name);
    return found == rules.options.end() ? nullptr : &*found;
}

/// "--at=2" as name and value; without an equals sign the value is absent.
std::pair<std::string_view, std::optional<std::string>> splitAtEquals(std::string_view argument)
{
    const std::size_t equals = argument.starts_with("--") ? argument.find('=') : std::string_view::npos;
    if (equals == std::string_view::npos) return {argument, std::nullopt};
    return {argument.substr(0, equals), std::string(argument.substr(equals + 1))};
}

/// Reads all of `text` as a T, or nothing.
template <typename T>
std::optional<T> parsed(std::string_view text)
{
    T value{};
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end) return std::nullopt;
    return value;
}

std::string inUsage(const Option& option)
{
    const std::string form = option.value.empty() ? std::string(option.name) : fmt::format("{} {}", option.name, option.value);
    return option.need == Option::Need::required ? form : "[" + form + "]";
}

} // namespace

Call::Call(const CallRules& rules, std::span<const std::string> arguments)
{
    asksForHelp_ = std::ranges::find(arguments, "--help") != arguments.end();
    if (asksForHelp_) return;

    bool optionsEnded = false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (optionsEnded || !argument.starts_with("-") || argument == "-") {
            operands_.push_back(argument);
            continue;
        }
        if (argument == "--") {
            optionsEnded = true;
            continue;
        }
        auto [name, value] = splitAtEquals(argument);
        const Option* option = optionNamed(rules, name);
        if (!option) throw WrongCall(fmt::format("{} has no option {}", rules.verb, name));
        if (has(option->name)) throw WrongCall(fmt::format("{} is given twice", option->name));
        if (option->value.empty() && value) throw WrongCall(fmt::format("{} takes no value", option->name));
        if (!option->value.empty() && !value) {
            if (++i == arguments.size()) throw WrongCall(fmt::format("{} lacks its value {}", option->name, option->value));
            value = arguments[i];
        }
        options_.emplace_back(option->name, value.value_or(""));
    }

    if (operands_.size() < rules.operands.size())
        throw WrongCall(fmt::format("{} lacks its {}", rules.verb, rules.operands[operands_.size()]));
    if (operands_.size() > rules.operands.size())
        throw WrongCall(fmt::format("{} has no use for {}", rules.verb, operands_[rules.operands.size()]));
    for (const Option& option : rules.options)
        if (option.need == Option::Need::required && !has(option.name))
            throw WrongCall(fmt::format("{} lacks {} {}", rules.verb, option.name, option.value));
}

const std::string* Call::find(std::string_view option) const
{
    for (const auto& [name, value] : options_)
        if (name == option) return &value;
    return nullptr;
}

std::optional<std::string> Call::text(std::string_view option) const
{
    const std::string* found = find(option);
    return found ? std::optional(*found) : std::nullopt;
}

std::optional<double> Call::number(std::string_view option) const
{
    const std::string* found = find(option);
    if (!found) return std::nullopt;
    const std::optional<double> value = parsed<double>(*found);
    if (!value || !std::isfinite(*value)) throw WrongCall(fmt::format("{} is not a number: {}", option, *found));
    return value;
}

std::optional<long long> Call::wholeNumber(std::string_view option) const
{
    const std::string* found = find(option);
    if (!found) return std::nullopt;
    const std::optional<long long> value = parsed<long long>(*found);
    if (!value) throw WrongCall(fmt::format("{} is not a whole number: {}", option, *found));
    return value;
}

std::string usageLine(const CallRules& rules)
{
    std::string line = fmt::format("larkspool {}", rules.verb);
    for (const std::string_view operand : rules.operands) line += fmt::format(" {}", operand);
    for (const Option& option : rules.options) line += " " + inUsage(option);
    return line;
}

std::string optionLines(const CallRules& rules)
{
    std::string lines;
    for (const Option& option : rules.options)
        lines += fmt::format("  {:<18} {}\n", fmt::format("{} {}", option.name, option.value), option.help);
    return lines;
}

} // namespace larkspool
