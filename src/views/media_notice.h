#pragma once

#include "shell/media_flow.h"

#include <QTimer>
#include <QWidget>

class QLabel;
class QPushButton;
class QToolButton;

namespace larkspool {

/// A card that floats at the lower edge of a widget. It shows how far files are read, with a way to stop that, and what is to be
/// told of them: for as long as the words take to be read, or until it is dismissed.
class MediaNotice final : public QWidget {
public:
    MediaNotice(QWidget* over, std::function<void()> stop);

    /// Words go before progress.
    void tell(const std::string& words);
    /// Nothing for none. It is shown only when it goes on for a moment.
    void showProgress(const std::optional<MediaFlow::Progress>& progress);

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showNow();
    void place();
    void dismiss();

    QLabel* label_ = nullptr;
    QPushButton* stop_ = nullptr;
    QToolButton* close_ = nullptr;
    QString words_;
    std::optional<MediaFlow::Progress> progress_;
    QTimer untilShown_; ///< Runs while progress is too young to be shown.
    QTimer untilRead_;  ///< Runs while words are shown.
};

} // namespace larkspool
