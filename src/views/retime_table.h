#pragma once

#include "timeline/retime_row.h"
#include "views/accessible_items.h"

#include <QAbstractScrollArea>
#include <QRectF>

#include <functional>
#include <optional>
#include <set>
#include <vector>

class QLabel;
class QLineEdit;

namespace larkspool {

/// The rows of a table of times, of which only those that are seen are painted. A group of items can be unfolded.
///
/// Arrow keys go from cell to cell, and what is typed goes into the one that is current: Return or leaving it commits, Escape
/// takes back what was typed, Tab goes on to the next cell, and arrow keys step by a frame.
class RetimeTable final : public QAbstractScrollArea, public AccessibleItems {
public:
    enum class Column { start, duration };
    static constexpr int lineHeight = 28;

    struct Steps {
        /// Whether the row has that time from now on. New rows are shown before it returns.
        std::function<bool(Column column, double value, const RetimeRow& row)> commit;
        std::function<void()> currentChanged;
        std::function<void()> editingEnded;
    };

    /// `step` is what an arrow key is worth while typing, in seconds.
    RetimeTable(double step, Steps steps, QWidget* parent);

    /// The current cell stays with its item.
    void showRows(std::vector<RetimeRow> rows);

    /// Null without rows.
    const RetimeRow* currentRow() const;
    Column currentColumn() const { return column_; }

    /// @name What is typed.
    /// @{
    bool isEditing() const { return edited_.has_value(); }
    /// Commits what was typed. False if it is no number, and the cell stays open.
    bool finishEditing();
    void dropEditing(); ///< Takes it back.
    /// @}

    std::vector<AccessibleItem> accessibleItems() const override;

    /// How high the table is that shows that many lines.
    static int heightOf(int lines) { return lines * lineHeight; }
    int lineCount() const { return static_cast<int>(lines_.size()); }

    /// Where the column's cells lie, in pixels from the left edge of a table that wide.
    static QRect columnIn(Column column, int width);
    static QRect nameIn(int width);
    static QRect itemIn(int width);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    /// A row, or one of its children.
    struct Line {
        std::size_t row;
        std::optional<std::size_t> child;
    };
    struct Edited {
        RetimeRow row; ///< As it was when the cell was opened.
        Column column;
    };

    const RetimeRow& rowOf(const Line& line) const;
    std::optional<RetimeSource> sourceOf(const RetimeRow& row) const;
    void layOut();
    std::optional<int> lineAt(int y) const;
    QRect lineRect(int line) const;
    QRect cellRect(int line, Column column) const;
    bool hasCell(int line, Column column) const;
    void makeCurrent(int line, Column column);
    void toggleFold(int line);
    bool isUnfolded(int line) const;
    void press(int line);
    void paintLine(QPainter& painter, int line) const;
    void paintCell(QPainter& painter, int line, Column column) const;
    void beginEditing(const QString& typed = {});
    void endEditing();
    void goOn(int by);
    void stepEdited(int steps);
    void placeEdit();
    void tellCurrent();

    double step_;
    Steps steps_;
    std::vector<RetimeRow> rows_;
    std::vector<Line> lines_;
    std::set<RetimeSource> unfolded_; ///< By the first item of each group.
    int line_ = 0;
    Column column_ = Column::start;
    std::optional<RetimeSource> currentSource_{};
    bool isChildCurrent_ = false;
    std::optional<int> hovered_{};
    std::optional<Edited> edited_{};
    QLineEdit* edit_;
    QLabel* unit_; ///< Of what is typed.
};

/// "Keyframes · X, Y": what a row is about.
QString itemText(const RetimeRow& row);

} // namespace larkspool
