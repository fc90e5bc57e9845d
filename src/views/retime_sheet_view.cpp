#include "views/retime_sheet_view.h"

#include "shell/command_routing.h"
#include "views/form_controls.h"
#include "views/input.h"
#include "views/retime_mini_timeline_view.h"
#include "views/retime_table.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QKeyEvent>
#include <QPainter>

#include <algorithm>
#include <utility>

namespace larkspool {

namespace {

constexpr int sheetWidth = 680, fewestLines = 4, chrome = 380, headHeight = 24, cellInset = 8;
const char* const hint = "Type to change a time, arrow keys step it by a frame. Tab goes on to the next one.";

/// The names of the columns.
class TableHead final : public QWidget {
public:
    explicit TableHead(QWidget* parent) : QWidget(parent) { setFixedHeight(headHeight); }

protected:
    void paintEvent(QPaintEvent*) override
    {
        QPainter painter(this);
        painter.setFont(textFont(TextStyle::caption));
        painter.setPen(theme().textSecondary);
        const auto write = [&](QRect place, const QString& words) {
            place.setHeight(height());
            painter.drawText(place, Qt::AlignVCenter | Qt::AlignLeft, words);
        };
        write(RetimeTable::nameIn(width()), "Layer");
        write(RetimeTable::itemIn(width()), "Item");
        write(RetimeTable::columnIn(RetimeTable::Column::duration, width()).adjusted(cellInset, 0, 0, 0), "Duration");
    }
};

} // namespace

RetimeSheetView::RetimeSheetView(QWidget& window, EditorView& editor, Steps steps)
    : FormSheet(window, {"Retime", "Done"}, sheetWidth),
      editor_(editor),
      steps_(std::move(steps)),
      sheet_(&editor.openRetimeSheet()),
      playheadBefore_(editor.state().playhead)
{
    confirmed = [this] {
        if (!table_->finishEditing()) return;
        finish();
        steps_.closed();
    };
    cancelled = [this] {
        table_->dropEditing();
        takeBack();
        steps_.closed();
    };
    form().setSpacing(12);
    strip_ = new RetimeMiniTimelineView({.scrub =
                                             [this](double x, double width, Qt::KeyboardModifiers modifiers) {
                                                 sheet_->scrub(x, width, SnapSettings::of(editor_.defaults()).grid,
                                                               asModifiers(modifiers));
                                                 steps_.changed();
                                             },
                                         .stepPlayhead = [this](int frames) { stepPlayhead(frames); }},
                                        body());
    addWide(strip_);
    buildTools();
    buildTable();
    refresh();
}

void RetimeSheetView::buildTools()
{
    auto* whole = new QWidget(body());
    auto* row = new QHBoxLayout(whole);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(8);
    row->addWidget(label("Ripple", TextStyle::body, LabelTone::secondary, whole));
    ripple_ = new ChoiceField("Ripple", whole);
    for (const EnumCase<RetimeRipple>& choice : EnumTable<RetimeRipple>::cases) ripple_->addItem(inWords(choice.label));
    ripple_->setCurrentIndex(static_cast<int>(sheet_->ripple));
    ripple_->setFixedWidth(152);
    ripple_->setToolTip(inWords(RetimeSheet::rippleHelp));
    ripple_->setAccessibleDescription(inWords(RetimeSheet::rippleHelp));
    connect(ripple_, &QComboBox::activated, this,
            [this](int index) { sheet_->ripple = EnumTable<RetimeRipple>::cases[index].value; });
    row->addWidget(ripple_);
    row->addStretch(1);
    undo_ = wordButton("Undo", ButtonRole::plain, whole);
    redo_ = wordButton("Redo", ButtonRole::plain, whole);
    connect(undo_, &QPushButton::clicked, this, [this] { undo(); });
    connect(redo_, &QPushButton::clicked, this, [this] { redo(); });
    row->addWidget(undo_);
    row->addWidget(redo_);
    addWide(whole);
}

void RetimeSheetView::buildTable()
{
    auto* whole = new QWidget(body());
    auto* column = new QVBoxLayout(whole);
    column->setContentsMargins(0, 0, 0, 0);
    column->setSpacing(0);
    head_ = new TableHead(whole);
    sort_ = wordButton("Start", ButtonRole::plain, head_, headHeight);
    sort_->setFont(textFont(TextStyle::caption));
    sort_->setFlat(true);
    connect(sort_, &QPushButton::clicked, this, [this] {
        sheet_->sort(!sheet_->sortDescending());
        refresh();
    });
    table_ = new RetimeTable(1.0 / static_cast<double>(std::max<std::int64_t>(editor_.scene().fps, 1)),
                             {.commit =
                                  [this](RetimeTable::Column at, double value, const RetimeRow& row) {
                                      const bool isStart = at == RetimeTable::Column::start;
                                      const bool isEdit =
                                          isStart ? sheet_->commitStart(value, row) : sheet_->commitDuration(value, row);
                                      if (isEdit) steps_.changed();
                                      refresh();
                                      return isEdit;
                                  },
                              .currentChanged = [this] { strip_->showChosen(table_->currentRow()); },
                              .editingEnded = [this] { refresh(); }},
                             whole);
    message_ = label(inWords(RetimeSheet::nothingToRetime), TextStyle::body, LabelTone::secondary, whole);
    message_->setAlignment(Qt::AlignCenter);
    message_->setFixedHeight(RetimeTable::heightOf(fewestLines));
    hint_ = label(hint, TextStyle::caption, LabelTone::secondary, whole);
    hint_->setContentsMargins(0, 8, 0, 0);
    column->addWidget(head_);
    column->addWidget(table_);
    column->addWidget(message_);
    column->addWidget(hint_);
    addWide(whole);
}

void RetimeSheetView::present()
{
    fitTable();
    QWidget* const first = table_->isHidden() ? static_cast<QWidget*>(ripple_) : table_;
    Sheet::present(first);
}

void RetimeSheetView::finish()
{
    table_->finishEditing();
    editor_.closeRetimeSheet();
    sheet_ = nullptr;
}

void RetimeSheetView::takeBack()
{
    while (sheet_->canUndo()) sheet_->performInModalUndo();
    editor_.closeRetimeSheet();
    sheet_ = nullptr;
    editor_.setPlayhead(playheadBefore_);
}

void RetimeSheetView::stepPlayhead(int frames)
{
    editor_.setPlayhead(steppedPlayhead(editor_.scene(), editor_.state().playhead, frames));
    steps_.changed();
}

void RetimeSheetView::undo()
{
    table_->dropEditing();
    sheet_->performInModalUndo();
    steps_.changed();
    refresh();
}

void RetimeSheetView::redo()
{
    table_->dropEditing();
    sheet_->performInModalRedo();
    steps_.changed();
    refresh();
}

void RetimeSheetView::refresh()
{
    if (!sheet_) return;
    strip_->showPlayhead(editor_.state().playhead);
    showUndo();
    const TweenScene scene = editor_.scene();
    const bool isSorted = shownDescending_ == sheet_->sortDescending();
    // While a cell is open the rows stay where they are, however long typing pauses.
    const bool isKept = shownKept_ == sheet_->keepsOrder() || table_->isEditing();
    if (isShown_ && isSorted && isKept && shownScene_ == scene) return;
    isShown_ = true;
    shownScene_ = scene;
    shownDescending_ = sheet_->sortDescending();
    shownKept_ = sheet_->keepsOrder();

    const std::vector<RetimeRow> rows = sheet_->rows();
    strip_->showRows(rows, scene.duration);
    table_->showRows(rows);
    strip_->showChosen(table_->currentRow());
    head_->setVisible(!rows.empty());
    table_->setVisible(!rows.empty());
    hint_->setVisible(!rows.empty());
    message_->setVisible(rows.empty());
    showFacts(rows.empty() ? "" : QString("%1 %2").arg(rows.size()).arg(rows.size() == 1 ? "row" : "rows"));
    showSortedBy();
    fitTable();
}

void RetimeSheetView::showUndo()
{
    undo_->setEnabled(sheet_->canUndo());
    undo_->setToolTip(sheet_->canUndo() ? inWords(RetimeSheet::undoHelp) : "There is nothing to undo.");
    redo_->setEnabled(sheet_->canRedo());
    redo_->setToolTip(sheet_->canRedo() ? "Redo last Retime edit" : "There is nothing to redo.");
}

void RetimeSheetView::showSortedBy()
{
    const bool isDescending = sheet_->sortDescending();
    sort_->setText(isDescending ? "Start ↓" : "Start ↑");
    sort_->setAccessibleName("Sort by start");
    sort_->setAccessibleDescription(isDescending ? "The last first" : "The first first");
    sort_->setToolTip(isDescending ? "Show the first row at the top" : "Show the last row at the top");
    const QRect place = RetimeTable::columnIn(RetimeTable::Column::start, sheetWidth - 2 * padding);
    const int words = sort_->fontMetrics().horizontalAdvance(sort_->text());
    sort_->setGeometry(place.left(), 0, words + 2 * cellInset, headHeight); // Its words stand over those of the cells.
}

void RetimeSheetView::fitTable()
{
    const int room = RetimeTable::heightOf(std::max((parentWidget()->height() - chrome) / RetimeTable::lineHeight, fewestLines));
    table_->setFixedHeight(std::clamp(RetimeTable::heightOf(table_->lineCount()), RetimeTable::heightOf(fewestLines), room));
}

void RetimeSheetView::resizeEvent(QResizeEvent* event)
{
    fitTable();
    FormSheet::resizeEvent(event);
}

void RetimeSheetView::keyPressEvent(QKeyEvent* event)
{
    if (event->matches(QKeySequence::Undo)) return undo();
    if (event->matches(QKeySequence::Redo)) return redo();
    FormSheet::keyPressEvent(event);
}

} // namespace larkspool
