#pragma once

#include "shell/commands.h"
#include "shell/panels.h"
#include "views/controls.h"

#include <functional>
#include <vector>

class QMenuBar;

namespace larkspool {

/// The bar at the top of an editor's window: the menus, the document's name, the panels, the zoom, and the ways to a film.
class TopBar final : public Surface {
public:
    struct Steps {
        std::function<void(Command command)> perform;
        std::function<void(Panel panel)> togglePanel;
    };

    TopBar(Steps steps, QWidget* parent);

    QMenuBar& menuBar() { return *menuBar_; }

    void showName(const QString& name, bool isEdited);
    /// 1 for the fitted size.
    void showZoom(double zoom);
    /// Shows which panels are seen, and which of the bar's commands can be given; of the others it tells why not.
    void refresh(const CommandContext& context, const UserDefaults& defaults);

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    QWidget* buildLeft();
    QWidget* buildName();
    QWidget* buildRight();
    void placeName();
    QPushButton* commandButton(Command command, const QString& icon, const QString& words, ButtonRole role, QWidget* parent);

    Steps steps_;
    QMenuBar* menuBar_ = nullptr;
    QWidget* left_ = nullptr;
    QWidget* right_ = nullptr;
    QWidget* nameHolder_ = nullptr;
    QLabel* name_ = nullptr;
    QLabel* edited_ = nullptr;
    std::vector<std::pair<Panel, QToolButton*>> panelButtons_;
    std::vector<std::pair<Command, QPushButton*>> commandButtons_;
    QToolButton* zoom_ = nullptr;
};

} // namespace larkspool
