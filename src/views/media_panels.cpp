#include "views/media_panels.h"

#include "views/controls.h"
#include "views/icons.h"
#include "views/sheet.h"
#include "views/theme.h"

#include <QBoxLayout>
#include <QEventLoop>
#include <QFile>
#include <QFileDialog>
#include <QPointer>
#include <QStandardPaths>
#include <QUrl>

#include <utility>

namespace larkspool {

namespace {

constexpr int sheetWidth = 480, padding = 24, dialogButton = 32, leastButtonWidth = 96, signSize = 32;

QString words(std::string_view text)
{
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::string systemPath(const QString& path)
{
    return QFile::encodeName(path).toStdString();
}

/// A sign, a title, a text and buttons in a row that ends with the default one.
class AlertSheet final : public Sheet {
public:
    AlertSheet(QWidget& window, const Alert& alert, std::function<void(std::size_t button)> pressed)
        : Sheet(window, words(alert.title), sheetWidth), pressed_(std::move(pressed))
    {
        auto* row = new QHBoxLayout(card());
        row->setContentsMargins(padding, 20, padding, 20);
        row->setSpacing(16);
        row->addWidget(sign(alert.style), 0, Qt::AlignTop);
        auto* column = new QVBoxLayout;
        column->setSpacing(0);
        const auto paragraph = [&](const std::string& text, TextStyle style, LabelTone tone) {
            QLabel* one = label(words(text), style, tone, card());
            one->setWordWrap(true);
            QSizePolicy policy = one->sizePolicy();
            policy.setHorizontalPolicy(QSizePolicy::Ignored); // A name without gaps does not make the card wider.
            one->setSizePolicy(policy);
            column->addWidget(one);
        };
        paragraph(alert.title, TextStyle::title, LabelTone::text);
        if (!alert.text.empty()) {
            column->addSpacing(8);
            paragraph(alert.text, TextStyle::body, LabelTone::secondary);
        }
        column->addSpacing(20);
        column->addLayout(buttons(alert));
        row->addLayout(column, 1);
        onConfirm = [this] { pressed_(0); };
        onCancel = [this, button = alert.cancelButton] { pressed_(button); };
    }

    void present() { Sheet::present(default_); }

private:
    QLabel* sign(Alert::Style style)
    {
        auto* result = new QLabel(card());
        const bool isWarning = style == Alert::Style::warning;
        result->setPixmap(iconPixmap(isWarning ? "missing-video" : "link", signSize, isWarning ? theme().warning : theme().accent,
                                     devicePixelRatioF()));
        return result;
    }
    QLayout* buttons(const Alert& alert)
    {
        auto* row = new QHBoxLayout;
        row->setSpacing(8);
        row->addStretch(1);
        for (std::size_t i = alert.buttons.size(); i-- > 0;) {
            QPushButton* button =
                wordButton(words(alert.buttons[i]), i == 0 ? ButtonRole::primary : ButtonRole::plain, card(), dialogButton);
            button->setMinimumWidth(leastButtonWidth);
            connect(button, &QPushButton::clicked, this, [this, i] { pressed_(i); });
            row->addWidget(button);
            default_ = button;
        }
        return row;
    }

    std::function<void(std::size_t button)> pressed_;
    QPushButton* default_ = nullptr;
};

} // namespace

QStringList nameFilters(const OpenPanel& panel)
{
    QStringList patterns;
    for (const std::string_view type : panel.types) patterns << "*." + words(type);
    return {words(panel.typesName) + " (" + patterns.join(' ') + ")", "All Files (*)"};
}

std::vector<std::string> localPaths(const QList<QUrl>& dropped)
{
    std::vector<std::string> paths;
    for (const QUrl& url : dropped)
        if (const QString path = url.toLocalFile(); !path.isEmpty()) paths.push_back(systemPath(path));
    return paths;
}

RunOpenPanel openPanelOver(QWidget& window, std::function<std::string()> folder)
{
    return [over = QPointer<QWidget>(&window), folder = std::move(folder)](const OpenPanel& panel) {
        const std::string near = folder();
        const QString start =
            near.empty() ? QStandardPaths::writableLocation(QStandardPaths::HomeLocation) : QFile::decodeName(near.c_str());
        const QPointer<QFileDialog> dialog = new QFileDialog(over, QString::fromStdString(panel.message), start);
        dialog->setFileMode(panel.allowsMultipleSelection ? QFileDialog::ExistingFiles : QFileDialog::ExistingFile);
        dialog->setNameFilters(nameFilters(panel));
        std::vector<std::string> paths;
        const bool isAccepted = dialog->exec() == QDialog::Accepted;
        if (!dialog) return paths;
        if (isAccepted)
            for (const QString& path : dialog->selectedFiles()) paths.push_back(systemPath(path));
        delete dialog;
        return paths;
    };
}

RunAlert alertOver(QWidget& window)
{
    return [over = QPointer<QWidget>(&window)](const Alert& alert) {
        std::size_t answer = alert.cancelButton;
        if (!over) return answer;
        QEventLoop loop;
        const QPointer<AlertSheet> sheet = new AlertSheet(*over, alert, [&](std::size_t button) {
            answer = button;
            loop.quit();
        });
        QObject::connect(sheet, &QObject::destroyed, &loop, &QEventLoop::quit);
        sheet->present();
        loop.exec();
        if (!sheet) return answer;
        sheet->onConfirm = sheet->onCancel = nullptr; // What they answer is gone, and the sheet is not yet.
        sheet->dismiss();
        return answer;
    };
}

} // namespace larkspool
