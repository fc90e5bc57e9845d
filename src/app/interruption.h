#pragma once

#include "export/exporter.h"

namespace larkspool {

/// While it lives, Ctrl-C (or a plain request to end) sets the flag instead of ending the program; a second one ends it. There is
/// at most one at a time.
class CancelOnInterrupt {
public:
    explicit CancelOnInterrupt(Exporter::ExportCancelFlag& flag);
    ~CancelOnInterrupt();
    CancelOnInterrupt(const CancelOnInterrupt&) = delete;
    CancelOnInterrupt& operator=(const CancelOnInterrupt&) = delete;
};

} // namespace larkspool
