#pragma once

#include "shell/repair_notice.h"
#include "views/controls.h"

namespace larkspool {

/// A quiet line that tells of something without asking for anything. What it is in full can be unfolded below it, and the line
/// taken away.
class NoticeBar final : public Surface {
public:
    NoticeBar(const RepairNotice& notice, QWidget* parent);

private:
    QWidget* details_ = nullptr;
};

} // namespace larkspool
