#pragma once

#include "shell/film_task.h"

#include <QImage>
#include <QProgressBar>
#include <QWidget>

namespace larkspool {

/// A picture of a film, fitted between bars.
class FilmPicture final : public QWidget {
public:
    FilmPicture(const QString& name, QWidget* parent);

    /// Of a film that is being written. Null for none.
    void showFrame(LiveFrame frame);
    void showPicture(QImage picture);
    /// In pixels of the screen. A picture that fits exactly is not scaled.
    QSize room() const { return size() * devicePixelRatioF(); }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    LiveFrame frame_; ///< Holds the pixels of `picture_`, where they are seen in place.
    QImage picture_;
};

/// How far long work is, as a thin bar. From 0 to 1000.
class ThinProgressBar final : public QProgressBar {
public:
    explicit ThinProgressBar(QWidget* parent);

    void showPart(double part); ///< 0...1.

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace larkspool
