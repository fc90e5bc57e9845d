#pragma once

#include "document/file_format.h"

#include <optional>
#include <string>
#include <vector>

namespace larkspool {

/// What a person is told when a document opens that had to be repaired.
struct RepairNotice {
    std::string summary;            ///< One sentence.
    std::vector<std::string> lines; ///< What was lost, each in a line of its own.

    bool operator==(const RepairNotice&) const = default;
};

/// Nothing where nothing was lost: what was merely carried over from how earlier files said it is no loss.
std::optional<RepairNotice> repairNotice(const Diagnostics& diagnostics);

} // namespace larkspool
