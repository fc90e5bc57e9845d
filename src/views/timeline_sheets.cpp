#include "views/timeline_sheets.h"

#include "views/move_items_view.h"
#include "views/retime_sheet_view.h"
#include "views/retime_table.h"
#include "views/span_arrange_view.h"

#include <utility>

namespace larkspool {

namespace {

SpansToArrange selectedSpans(const EditorView& editor)
{
    const TweenScene scene = editor.scene();
    return {scene, resolvedSelectedSpans(scene, editor.state().timelineSelection)};
}

template <typename View>
View* presented(View* view)
{
    view->present();
    return view;
}

} // namespace

TimelineSheets::TimelineSheets(QWidget& window, Services services) : window_(window), services_(std::move(services)) {}

TimelineSheets::~TimelineSheets()
{
    delete sheet_.data();
}

void TimelineSheets::open(Command command)
{
    if (isOpen()) return;
    switch (command) {
    case Command::showMoveModal: sheet_ = openMove(); break;
    case Command::showDilateModal: sheet_ = openDilate(); break;
    case Command::distributeSpans: sheet_ = openDistribute(); break;
    case Command::staggerSpans: sheet_ = openStagger(); break;
    case Command::showRetime: sheet_ = openRetime(); break;
    default: return;
    }
    services_.playback.setPlaying(false);
    services_.changed();
}

bool TimelineSheets::take(Command command)
{
    if (!isOpen() || (command != Command::undo && command != Command::redo)) return false;
    if (retime_ && command == Command::undo) retime_->undo();
    if (retime_ && command == Command::redo) retime_->redo();
    return true;
}

void TimelineSheets::refresh()
{
    if (retime_) retime_->refresh();
}

void TimelineSheets::endEditing()
{
    if (retime_ && !retime_->table().finishEditing()) retime_->table().dropEditing();
}

void TimelineSheets::close()
{
    if (!isOpen()) return;
    if (!retime_) return sheet_->onCancel();
    retime_->finish();
    dismiss();
}

void TimelineSheets::dismiss()
{
    FormSheet* const done = sheet_;
    sheet_.clear();
    retime_.clear();
    if (done) done->dismiss();
    services_.changed();
}

FormSheet* TimelineSheets::openMove()
{
    return presented(new MoveItemsSheetView(window_, services_.editor.moveItemsSheet(), services_.editor.scene().duration,
                                            {.changed = services_.changed, .closed = [this] { dismiss(); }}));
}

FormSheet* TimelineSheets::openDilate()
{
    return presented(new DilateItemsSheetView(window_, services_.editor.dilateItemsSheet(), services_.editor.scene().duration,
                                              {.changed = services_.changed, .closed = [this] { dismiss(); }}));
}

FormSheet* TimelineSheets::openDistribute()
{
    return presented(new DistributeSpansSheetView(
        window_, services_.editor.distributeSpansSheet(), selectedSpans(services_.editor),
        {.apply = [this](double gap) { services_.editor.distributeSelectedSpans(gap); }, .closed = [this] { dismiss(); }}));
}

FormSheet* TimelineSheets::openStagger()
{
    return presented(new StaggerSpansSheetView(
        window_, services_.editor.staggerSpansSheet(), selectedSpans(services_.editor),
        {.apply = [this](double amount, double curve,
                         StaggerOrder order) { services_.editor.staggerSelectedSpans(amount, curve, order); },
         .closed = [this] { dismiss(); }}));
}

FormSheet* TimelineSheets::openRetime()
{
    retime_ = presented(
        new RetimeSheetView(window_, services_.editor, {.changed = services_.changed, .closed = [this] { dismiss(); }}));
    return retime_;
}

} // namespace larkspool
