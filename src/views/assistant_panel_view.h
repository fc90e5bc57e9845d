#pragma once

#include "assistant/assistant_panel.h"
#include "shell/editor_assistant.h"
#include "views/controls.h"

#include <QPlainTextEdit>

#include <functional>

class QScrollArea;
class QVBoxLayout;

namespace larkspool {

class ErrorRow;

/// The field in which a person writes to the assistant: as high as its text, from one line to five. Return sends; with Shift it
/// begins a new line.
class Composer final : public QPlainTextEdit {
public:
    Composer(int mostLines, QWidget* parent);

    std::function<void()> onSend{};

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;

private:
    void fitHeight();

    int mostLines_;
};

/// The conversation with the assistant of one editor.
class AssistantPanelView final : public Surface {
public:
    /// What it works with, which outlives it.
    struct Services {
        EditorAssistant& assistant;
        const UserDefaults& defaults;
        std::function<void()> openPreferences{}; ///< Where the assistant is set up. May be absent.
    };

    AssistantPanelView(Services services, QWidget* parent);

    /// Shows the conversation and the settings as they are. The conversation's changes are shown by themselves.
    void refresh();

    /// Puts the keyboard into the composer, if it takes input.
    void focusComposer();

private:
    QWidget* buildHead();
    QWidget* buildSetUp();
    QWidget* buildStarters();
    QWidget* buildTranscript();
    QWidget* buildComposer();
    void showRows();
    void showContent(const AssistantPanel& panel);
    void showComposer(const AssistantPanel& panel);
    void send();
    void ask(std::string_view starter);
    void copyTranscript();

    Services services_;
    QToolButton* copy_ = nullptr;
    QToolButton* clear_ = nullptr;
    QToolButton* send_ = nullptr;
    QWidget* setUp_ = nullptr;
    QWidget* starters_ = nullptr;
    QWidget* thinking_ = nullptr;
    QScrollArea* scroll_ = nullptr;
    QVBoxLayout* rows_ = nullptr;
    ErrorRow* error_ = nullptr;
    Composer* composer_ = nullptr;
    std::vector<QWidget*> shown_{};  ///< The rows of the transcript.
    std::size_t shownMessages_ = 0;  ///< How many messages they stand for.
    int shownClearings_ = 0;         ///< Of the conversation that they belong to.
    bool isAtEnd_ = true;            ///< Whether the transcript follows its end as it grows.
    Observation conversation_{};
};

} // namespace larkspool
