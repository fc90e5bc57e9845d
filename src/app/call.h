#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace larkspool {

/// A call that cannot be meant. `what()` says in one line what is wrong with it.
class WrongCall : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// What an option of a verb is called and takes.
struct Option {
    enum class Need { optional, required };

    std::string_view name;  ///< With its hyphens: "--scene".
    std::string_view value; ///< What stands after it, for a person: "N". Empty for a switch.
    std::string_view help;
    Need need = Need::optional;
};

/// What may stand behind a verb.
struct CallRules {
    std::string_view verb;
    std::vector<std::string_view> operands; ///< Names for a person: "DOC". All must be given.
    std::vector<Option> options;
};

/// The arguments of a verb, sorted into operands and options.
///
/// An option's value is the next argument, or follows an equals sign (`--at=2`). Options and operands mix freely; behind `--`
/// all are operands.
class Call {
public:
    /// Throws WrongCall for arguments that break the rules.
    Call(const CallRules& rules, std::span<const std::string> arguments);

    /// Whether `--help` is among the arguments. Rules for the rest are then off.
    bool asksForHelp() const { return asksForHelp_; }

    const std::string& operand(std::size_t index) const { return operands_[index]; }
    bool has(std::string_view option) const { return find(option) != nullptr; }

    /// The option's text, or nothing if it was not given.
    std::optional<std::string> text(std::string_view option) const;

    /// The option as a finite decimal number. Throws WrongCall for anything else.
    std::optional<double> number(std::string_view option) const;

    /// The option as a whole number. Throws WrongCall for anything else.
    std::optional<long long> wholeNumber(std::string_view option) const;

private:
    const std::string* find(std::string_view option) const;

    bool asksForHelp_ = false;
    std::vector<std::string> operands_;
    std::vector<std::pair<std::string_view, std::string>> options_;
};

/// "larkspool frame DOC --at T -o PNG [--scene N]".
std::string usageLine(const CallRules& rules);

/// One line for each option, with its help.
std::string optionLines(const CallRules& rules);

} // namespace larkspool
