#pragma once

#include "assistant/assistant_panel.h"

#include <QAbstractButton>
#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QTextDocument;

namespace larkspool {

/// The icon that stands for a glyph of the assistant's words.
QString iconForGlyph(std::string_view glyph);

/// The words of the person, in a bubble at the right.
class BubbleRow final : public QWidget {
public:
    BubbleRow(const QString& words, QWidget* parent);

    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QSize textSize(int width) const;

    QTextDocument* words_; ///< Laid out anew for each width that is asked about.
};

/// A card that opens to show all that it stands for.
class CardRow final : public QWidget {
public:
    struct Look {
        std::string_view glyph;
        QString words;
        QString badge{}; ///< Below the words; may be empty.
        bool isFailure = false;
        bool isDone = false;
    };

    CardRow(const Look& look, std::string details, QWidget* parent);

    bool isExpanded() const { return details_ != nullptr; }
    void setExpanded(bool expanded);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    std::string text_;
    bool isFailure_;
    QAbstractButton* head_;
    QLabel* chevron_;
    QPlainTextEdit* details_ = nullptr; ///< While the card is open.
};

/// A row of the transcript.
QWidget* transcriptRowView(const TranscriptRow& row, QWidget* parent);

/// What went wrong, below the transcript.
class ErrorRow final : public QWidget {
public:
    explicit ErrorRow(QWidget* parent);
    void setWords(const QString& words);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QLabel* words_;
};

} // namespace larkspool
