#pragma once

#include "platform/user_defaults.h"
#include "shell/preferences.h"

#include <QWidget>

#include <functional>
#include <vector>

class QButtonGroup;
class QLineEdit;
class QStackedWidget;

namespace larkspool {

class Switch;

/// The window of the settings. What is changed in it holds at once, and what changes elsewhere is shown at once.
class PreferencesWindow final : public QWidget {
public:
    explicit PreferencesWindow(UserDefaults& defaults);

    void choose(PreferencesView::Tab tab);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// One of the three pages, to be filled from above.
    QWidget* addPage();
    Switch* addSwitch(QWidget* page, std::string_view words, std::string_view note);
    void buildTabs();
    void buildLaunch();
    void buildExport();
    void buildAssistant();
    /// Calls `show` now and after every change of the settings.
    void keepShown(std::function<void()> show);

    UserDefaults& defaults_;
    QButtonGroup* tabs_ = nullptr;
    QStackedWidget* pages_ = nullptr;
    std::vector<std::function<void()>> shows_;
    Observation changes_;
};

} // namespace larkspool
