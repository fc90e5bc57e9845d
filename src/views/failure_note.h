#pragma once

#include <QWidget>

class QLabel;

namespace larkspool {

/// Tells on a sheet that work has failed: a sign, what failed, and why. Whoever made it adds the way out.
class FailureNote final : public QWidget {
public:
    FailureNote(const QString& heading, QWidget* parent);

    void showReason(const QString& reason);

private:
    QLabel* reason_ = nullptr;
};

} // namespace larkspool
