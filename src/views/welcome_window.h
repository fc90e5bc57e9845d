#pragma once

#include "shell/tasks.h"
#include "shell/welcome.h"

#include <QWidget>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

class QBoxLayout;
class QLabel;

namespace larkspool {

class Switch;

/// The window that greets: new documents by their size, and those of late.
class WelcomeWindow final : public QWidget {
public:
    struct Services {
        UserDefaults& defaults;
        RecentDocuments& recents;
        Tasks tasks; ///< Where the small pictures of the documents are made.
        std::function<void()> openUntitledDocument;
        std::function<void(const std::string& path, std::function<void(bool isOpen)> ended)> openDocument; ///< As of WelcomeView.
        std::function<QString()> askForDocument; ///< A path; empty if none was chosen.
    };

    explicit WelcomeWindow(Services services);
    ~WelcomeWindow() override;

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void paintEvent(QPaintEvent* event) override;

private:
    class Card;
    class RecentRow;

    QWidget* buildGreeting();
    QWidget* buildChoices();
    void buildPresets(QBoxLayout& column);
    void buildRecents(QBoxLayout& column);
    void buildFoot(QBoxLayout& column);
    void askForSize();
    void moveAmongCards(QWidget* card, int key);
    void makePictures();
    void showOpening();

    Services services_;
    WelcomeView view_;
    std::vector<Card*> cards_;
    std::vector<RecentRow*> rows_;
    QLabel* opening_ = nullptr; ///< Tells what is being opened.
    std::shared_ptr<std::atomic<bool>> isGone_ = std::make_shared<std::atomic<bool>>(false); ///< Shared with what makes pictures.
};

} // namespace larkspool
