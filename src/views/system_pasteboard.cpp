#include "views/system_pasteboard.h"

#include "views/picture.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QImage>
#include <QMimeData>

#include <cstring>

namespace larkspool {

namespace {

/// The desktop's own name of a type of picture; a type of ours goes under its own name.
QString formatOf(std::string_view type)
{
    if (type == PasteboardType::png) return "image/png";
    if (type == PasteboardType::jpeg) return "image/jpeg";
    if (type == PasteboardType::tiff) return "image/tiff";
    return "application/x-" + QString::fromUtf8(type.data(), static_cast<qsizetype>(type.size()));
}

} // namespace

void SystemPasteboard::clearContents()
{
    contents_.clear();
    QGuiApplication::clipboard()->clear();
}

void SystemPasteboard::setData(std::string_view type, Bytes data)
{
    contents_[formatOf(type)] =
        QByteArray(reinterpret_cast<const char*>(data.view().data()), static_cast<qsizetype>(data.size()));
    auto* contents = new QMimeData;
    for (const auto& [format, bytes] : contents_) contents->setData(format, bytes);
    QGuiApplication::clipboard()->setMimeData(contents);
}

std::optional<Bytes> SystemPasteboard::data(std::string_view type) const
{
    const QMimeData* contents = QGuiApplication::clipboard()->mimeData();
    if (!contents || !contents->hasFormat(formatOf(type))) return std::nullopt;
    const QByteArray bytes = contents->data(formatOf(type));
    return Bytes(std::vector<std::uint8_t>(bytes.begin(), bytes.end()));
}

ImageRef SystemPasteboard::image() const
{
    const QImage image = QGuiApplication::clipboard()->image().convertToFormat(QImage::Format_ARGB32_Premultiplied);
    if (!PixelBuffer::isPossible(image.width(), image.height())) return nullptr;
    PixelBuffer pixels(image.width(), image.height());
    for (int y = 0; y < image.height(); ++y)
        std::memcpy(pixels.row(y), image.constScanLine(y), static_cast<std::size_t>(image.width()) * 4);
    return makeImage(std::move(pixels));
}

} // namespace larkspool
