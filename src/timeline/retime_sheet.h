#pragma once

#include "editing/modifiers.h"
#include "platform/timers.h"
#include "timeline/retime_edits.h"
#include "timeline/retime_rows.h"
#include "timeline/snap.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace larkspool {

/// The sheet in which the times of a scene are typed into a table, without its window. What is typed is written into the
/// document at once. The sheet keeps undo and redo stacks of its own; when it closes, all that was done is one step of the
/// document.
///
///     open ─▶ commit, commit, undo, redo, commit … ─▶ finalizeUndo: one step "Retime", or none
///
/// Lives on the main thread.
class RetimeSheet {
public:
    /// What the sheet works on. The timers outlive it.
    struct Opening {
        std::function<TweenScene()> read{};                 ///< The scene of the document.
        std::function<void(TweenScene)> write{};            ///< Shows the scene in the document, and records nothing.
        std::function<void(TweenScene before)> finish{};    ///< Records one step of the document, named `actionName`.
        std::function<void(double seconds)> setPlayhead{};
        Timers& timers;
        RetimeRipple ripple = RetimeRipple::off;
        std::optional<LayerIDs> rippleScopeLayerIDs{}; ///< The layers that take part in ripple; absent for all.
    };

    static constexpr double burstWindow = 1; ///< Seconds between edits of one cell that are one step of the sheet's undo.
    static constexpr double resortDelay = 1; ///< Seconds without an edit before the rows are sorted anew.

    static constexpr std::string_view actionName = "Retime";
    static constexpr std::string_view nothingToRetime = "Nothing to retime yet.";
    static constexpr std::string_view undoHelp = "Undo last Retime edit";
    static constexpr std::string_view rippleHelp = "Ripple mode applied to time edits: Push After / Before / Both / Off.";

    explicit RetimeSheet(Opening opening) : ripple(opening.ripple), opening_(std::move(opening)) {}
    RetimeSheet(const RetimeSheet&) = delete;
    RetimeSheet& operator=(const RetimeSheet&) = delete;

    RetimeRipple ripple;

    /// @name The table.
    /// @{
    /// By start, forwards or backwards. From an edit on, and until there has been none for a moment, every row keeps its place.
    std::vector<RetimeRow> rows() const;
    bool sortDescending() const { return sortDescending_; }
    bool keepsOrder() const { return stableRowOrder_.has_value(); } ///< Whether rows keep their places now.
    void sort(bool descending); ///< At once.
    /// What stands in place of the table; nothing while there are rows.
    std::optional<std::string_view> message() const;
    /// @}

    /// @name Edits. Whether something was changed.
    ///
    /// A row may be older than the scene: what counts of it is the items that it stands for, so that a cell may go on with the
    /// row that it began with while the rows around it regroup. Items that are gone are passed over. Nothing happens without
    /// any, for a value within 0.0001 of the row's or that is no finite number, and in a scene of no duration.
    /// @{
    /// Moves the row to a start in seconds, held within the scene; the items of a group by the same way.
    bool commitStart(double value, const RetimeRow& row);
    /// Gives the row, or every item of a group, a duration in seconds, held at 0. Nothing for what has none.
    bool commitDuration(double value, const RetimeRow& row);
    /// @}

    /// @name Undo within the sheet. A burst of edits of one cell is one step.
    /// @{
    bool canUndo() const { return !undoStack_.empty(); }
    bool canRedo() const { return !redoStack_.empty(); }
    void performInModalUndo();
    void performInModalRedo();
    /// @}

    /// To be called when the sheet closes: records one step of the document, unless its scene is the one that the sheet found.
    void finalizeUndo();

    /// @name The strip above the table.
    /// @{
    std::vector<RetimeMiniTimeline::Bar> bars(double width) const;
    /// The grip for the playhead is dragged to `x` points from the left end of the strip: the playhead goes to the grid, unless
    /// Command is down, and is held within the scene. Nothing else changes.
    void scrub(double x, double width, PlayheadSnapMode grid, Modifiers modifiers) const;
    /// @}

private:
    enum class Column { start, duration };

    void commit(Column column, const RetimeRow& row, TweenScene edited, RetimeShift shift);
    void beginSessionIfNeeded();
    void pushUndoStep(std::string key);
    void scheduleResort();
    void step(std::vector<TweenScene>& from, std::vector<TweenScene>& to);

    Opening opening_;
    bool sortDescending_ = false;
    std::optional<std::vector<std::string>> stableRowOrder_;
    Timer resortTimer_;
    std::vector<TweenScene> undoStack_;
    std::vector<TweenScene> redoStack_;
    std::optional<std::string> lastEditKey_;
    double lastEditAt_ = 0; ///< By the timers' clock.
    std::optional<TweenScene> sessionBaseline_; ///< The scene before the first edit.
};

} // namespace larkspool
