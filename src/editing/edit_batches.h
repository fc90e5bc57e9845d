#pragma once

#include "editing/shared_commit.h"
#include "platform/timers.h"

#include <optional>
#include <string>
#include <string_view>

namespace larkspool {

/// A stream of changes from a colour well, which makes one undo step. The step closes 0.4 seconds after the last change, or when
/// it is told to.
class ColorEditBatch {
public:
    static constexpr double quietSeconds = 0.4;

    ColorEditBatch(SharedCommit& commit, Timers& timers) : commit_(commit), timers_(timers) {}
    ColorEditBatch(const ColorEditBatch&) = delete;
    ColorEditBatch& operator=(const ColorEditBatch&) = delete;

    /// One change of the stream, shown at once. The first one's name is the step's. `work` also does what follows from the
    /// change, such as the derived name of a shape whose fill it is.
    void colorEditBatch(std::string_view action, const SharedCommit::Work& work);

    /// Closes the step, whether or not a gate is open. Nothing happens if there is none.
    void commitColorBatch();
    /// Puts the scene back as it was before the stream, and records nothing. Nothing happens if there is none.
    void cancelColorBatch();

    bool isOpen() const { return colorBatchSnapshot_.has_value(); }

private:
    SharedCommit& commit_;
    Timers& timers_;
    std::optional<TweenScene> colorBatchSnapshot_;
    std::string colorBatchAction_;
    Timer colorBatchTimer_;
};

/// A number changed by dragging its label: one undo step from begin to end, and none if the scene ends as it began.
class NumberScrub {
public:
    explicit NumberScrub(SharedCommit& commit) : commit_(commit) {}

    /// Nothing happens while a scrub is open.
    void scrubBegin(std::string_view action);
    /// A change on the way, shown at once.
    void scrub(const SharedCommit::Work& work);
    void scrubEnd();

    bool isOpen() const { return scrubSnapshot_.has_value(); }

private:
    SharedCommit& commit_;
    std::optional<TweenScene> scrubSnapshot_;
    std::string scrubAction_;
};

} // namespace larkspool
