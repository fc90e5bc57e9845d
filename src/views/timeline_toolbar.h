#pragma once

#include "views/editor_context.h"

#include <QToolButton>
#include <QWidget>

#include <utility>
#include <vector>

namespace larkspool {

/// The row of controls above the rail: time, transport, ripple, snapping and the zoom.
class TimelineToolbar final : public QWidget {
public:
    TimelineToolbar(EditorContext context, QWidget* parent);

    /// Shows the editor's state and the settings.
    void refresh();

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

private:
    QToolButton* commandButton(Command command, const QString& icon);
    QToolButton* settingButton(const BooleanKey& key, const QString& icon, const QString& name);
    QToolButton* playModeButton();
    QToolButton* scopeButton();
    QToolButton* gridButton();
    void chooseSetting(std::string_view key, std::string_view value);

    EditorContext context_;
    QToolButton* play_ = nullptr;
    QToolButton* playMode_ = nullptr;
    QToolButton* scope_ = nullptr;
    QToolButton* grid_ = nullptr;
    QToolButton* zoom_ = nullptr;
    std::vector<std::pair<QToolButton*, BooleanKey>> settings_;
    std::vector<QWidget*> captions_; ///< Left out where the room is scarce.
};

} // namespace larkspool
