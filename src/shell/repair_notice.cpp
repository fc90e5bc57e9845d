#include "shell/repair_notice.h"

namespace larkspool {

std::optional<RepairNotice> repairNotice(const Diagnostics& diagnostics)
{
    RepairNotice notice;
    for (const Diagnostic& diagnostic : diagnostics.told) {
        if (diagnostic.action == Diagnostic::Action::migrated) continue;
        const bool isDefaulted = diagnostic.action == Diagnostic::Action::defaulted;
        const bool tellsPlace = diagnostic.path.empty() || diagnostic.text.find(diagnostic.path) != std::string::npos;
        notice.lines.push_back((tellsPlace ? std::string() : diagnostic.path + ": ") + diagnostic.text +
                               (isDefaulted ? ": a default stands in its place" : ": left out"));
    }
    const std::size_t count = notice.lines.size() + diagnostics.untold;
    if (count == 0) return std::nullopt;
    if (diagnostics.untold > 0) notice.lines.push_back("and " + std::to_string(diagnostics.untold) + " more");
    notice.summary = count == 1 ? "One part of this file could not be read as it stands."
                                : std::to_string(count) + " parts of this file could not be read as they stand.";
    notice.summary += " Saving keeps the file as it was beside it.";
    return notice;
}

} // namespace larkspool
