#include "views/icons.h"

#include "platform/image_decoding.h"
#include "views/picture.h"
#include "views/theme.h"

#include <QFile>
#include <QIconEngine>
#include <QPainter>

#include <cmath>
#include <map>
#include <span>
#include <tuple>

namespace larkspool {

namespace {

QByteArray readArt(const QString& name)
{
    QFile file(":/icons/" + name + ".svg");
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QPixmap drawn(const QString& name, int size, const QColor& color, double pixelRatio)
{
    QByteArray art = readArt(name);
    art.replace("currentColor", color.name(QColor::HexRgb).toUtf8());
    if (size >= 20) art.replace("stroke-width=\"1.5\"", "stroke-width=\"1.2\""); // The larger grid has the same weight of line.
    const auto vector = decodeVectorArt(std::span(reinterpret_cast<const std::uint8_t*>(art.constData()),
                                                  static_cast<std::size_t>(art.size())));
    const int pixels = static_cast<int>(std::ceil(size * pixelRatio));
    const ImageRef image = vector ? vector->render(pixels, pixels) : nullptr;
    if (!image) return {};
    QPixmap pixmap = QPixmap::fromImage(asQImage(*image));
    pixmap.setDevicePixelRatio(pixelRatio);
    return pixmap;
}

/// Draws an icon at whatever size and ratio it is asked for, in the colour of its state.
class ButtonIconEngine final : public QIconEngine {
public:
    ButtonIconEngine(QString name, int size, IconGround ground) : name_(std::move(name)), size_(size), ground_(ground) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override
    {
        const double ratio = painter->device()->devicePixelRatioF();
        const QPixmap pixmap = iconPixmap(name_, size_, colorOf(mode, state), ratio);
        painter->drawPixmap(rect.x() + (rect.width() - size_) / 2, rect.y() + (rect.height() - size_) / 2, pixmap);
    }
    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override
    {
        return iconPixmap(name_, size.width(), colorOf(mode, state), 1);
    }
    QPixmap scaledPixmap(const QSize& size, QIcon::Mode mode, QIcon::State state, double ratio) override
    {
        return iconPixmap(name_, static_cast<int>(std::lround(size.width() / ratio)), colorOf(mode, state), ratio);
    }
    QIconEngine* clone() const override { return new ButtonIconEngine(*this); }

private:
    QColor colorOf(QIcon::Mode mode, QIcon::State state) const
    {
        if (mode == QIcon::Disabled) return theme().iconDisabled;
        if (ground_ == IconGround::accent || mode == QIcon::Selected) return theme().textOnAccent;
        if (state == QIcon::On) return theme().accentText;
        return mode == QIcon::Active ? theme().text : theme().icon;
    }

    QString name_;
    int size_;
    IconGround ground_;
};

} // namespace

QPixmap iconPixmap(const QString& name, int size, const QColor& color, double pixelRatio)
{
    using Key = std::tuple<QString, int, QRgb, double>;
    static std::map<Key, QPixmap> known;
    const Key key{name, size, color.rgba(), pixelRatio};
    const auto found = known.find(key);
    return found != known.end() ? found->second : known.emplace(key, drawn(name, size, color, pixelRatio)).first->second;
}

QIcon buttonIcon(const QString& name, int size, IconGround ground)
{
    return QIcon(new ButtonIconEngine(name, size, ground));
}

} // namespace larkspool
