#include "views/system_pasteboard.h"

#include "canvas/layer_clipboard.h"
#include "document/file_format.h"
#include "support/png_bytes.h"
#include "views/editor_window.h"
#include "views/window_test.h"

#include <QClipboard>
#include <QImage>
#include <QMimeData>

#include <gtest/gtest.h>

#include <functional>
#include <map>
#include <string>

namespace larkspool {
namespace {

const QString layersFormat = "application/x-com.quorbel.Larkspool.layers";

/// What another program has promised. What it gives is told each time that it is asked.
class PromisedData final : public QMimeData {
public:
    using Give = std::function<QVariant()>;
    explicit PromisedData(std::map<QString, Give> promises) : promises_(std::move(promises)) {}

    QStringList formats() const override
    {
        QStringList all;
        for (const auto& [format, give] : promises_) all << format;
        return all;
    }
    bool hasFormat(const QString& format) const override { return promises_.contains(format); }

protected:
    QVariant retrieveData(const QString& format, QMetaType) const override
    {
        const auto promise = promises_.find(format);
        return promise == promises_.end() ? QVariant() : promise->second();
    }

private:
    std::map<QString, Give> promises_;
};

QByteArray onePixel()
{
    const std::vector<std::uint8_t> png = pngBytes({.width = 3, .height = 2, .samples = std::vector<std::uint8_t>(18, 99)});
    return {reinterpret_cast<const char*>(png.data()), static_cast<qsizetype>(png.size())};
}

QByteArray twoLayers()
{
    const Array<Layer> layers = {Layer{.id = {1, 1}, .name = "One"}, Layer{.id = {1, 2}, .name = "Two"}};
    return QByteArray::fromStdString(encodedJson(layers));
}

/// A window that pastes from the desktop.
class SystemPasteboardTest : public testing::Test {
protected:
    SystemPasteboardTest()
    {
        QGuiApplication::clipboard()->clear();
        window = std::make_unique<EditorWindow>(DocumentFile(TweenDocument()), workspace);
        window->setAttribute(Qt::WA_DeleteOnClose, false);
        window->show();
        (void)QTest::qWaitForWindowExposed(window.get());
        window->activateWindow();
        workspace.registry.setPrimaryID(std::nullopt); // The platform without a screen activates windows as it likes.
    }
    ~SystemPasteboardTest() override
    {
        window.reset();
        QGuiApplication::clipboard()->clear();
    }

    static void promise(std::map<QString, PromisedData::Give> promises)
    {
        QGuiApplication::clipboard()->setMimeData(new PromisedData(std::move(promises)));
    }
    /// How many layers come of it.
    std::size_t paste()
    {
        const std::size_t before = window->editor().scene().layers.size();
        window->perform(Command::paste);
        return window->editor().scene().layers.size() - before;
    }

    MemoryUserDefaults defaults;
    SystemPasteboard pasteboard;
    Workspace workspace{.defaults = defaults, .pasteboard = pasteboard, .recents = RecentDocuments("")};
    std::unique_ptr<EditorWindow> window;
};

TEST_F(SystemPasteboardTest, TypesOfPicturesGoUnderTheDesktopsNamesAndOursUnderItsOwn)
{
    pasteboard.clearContents();
    pasteboard.setData(PasteboardType::png, Bytes({1, 2, 3}));
    pasteboard.setData(layersPasteboardType, Bytes({4, 5}));
    const QMimeData* contents = QGuiApplication::clipboard()->mimeData();
    EXPECT_EQ(contents->data("image/png"), QByteArray("\1\2\3"));
    EXPECT_EQ(contents->data(layersFormat), QByteArray("\4\5"));
    EXPECT_EQ(pasteboard.data(PasteboardType::png), Bytes({1, 2, 3}));
    EXPECT_EQ(pasteboard.data(PasteboardType::jpeg), std::nullopt);
    pasteboard.clearContents();
    EXPECT_EQ(pasteboard.data(PasteboardType::png), std::nullopt);
}

TEST_F(SystemPasteboardTest, WhatAnotherProgramHasPutThereIsNotTakenOver)
{
    int asked = 0;
    promise({{"text/plain", [&asked] {
                  ++asked;
                  return QVariant("words");
              }}});
    pasteboard.setData(layersPasteboardType, Bytes({1}));
    EXPECT_EQ(asked, 0);
    EXPECT_FALSE(QGuiApplication::clipboard()->mimeData()->hasFormat("text/plain"));
}

TEST_F(SystemPasteboardTest, CopiedLayersComeBack)
{
    promise({{layersFormat, [] { return QVariant(twoLayers()); }}});
    EXPECT_EQ(paste(), 2u);
}

/// It promised what it does not give, or gave a part of it.
TEST_F(SystemPasteboardTest, AnOwnerThatDiesInTheMiddleLeavesNothingToPaste)
{
    const QByteArray whole = twoLayers(), png = onePixel();
    int asked = 0;
    const auto onceOnly = [&asked](const QByteArray& bytes) { return asked++ == 0 ? QVariant(bytes) : QVariant(); };
    struct Case {
        const char* what;
        std::map<QString, PromisedData::Give> promises;
    };
    for (const Case& c :
         {Case{"nothing for layers", {{layersFormat, [] { return QVariant(); }}}},
          Case{"nothing for anything",
               {{layersFormat, [] { return QVariant(); }},
                {"image/png", [] { return QVariant(); }},
                {"text/plain", [] { return QVariant(); }}}},
          Case{"half of the layers", {{layersFormat, [&] { return QVariant(whole.first(whole.size() / 2)); }}}},
          Case{"all but the last byte", {{layersFormat, [&] { return QVariant(whole.first(whole.size() - 1)); }}}},
          Case{"a part of the layers, and then no picture",
               {{layersFormat, [&] { return onceOnly(whole.first(40)); }}, {"image/png", [&] { return onceOnly(png); }}}},
          Case{"half of a picture", {{"image/png", [&] { return QVariant(png.first(png.size() / 2)); }}}},
          Case{"a picture of the toolkit's that is none", {{"application/x-qt-image", [] { return QVariant(QImage()); }}}},
          Case{"words in the place of a picture", {{"application/x-qt-image", [] { return QVariant("words"); }}}}}) {
        SCOPED_TRACE(c.what);
        asked = 0;
        promise(c.promises);
        EXPECT_EQ(paste(), 0u);
        EXPECT_FALSE(window->editor().undoManager().canUndo());
    }
}

TEST_F(SystemPasteboardTest, APictureBesideBrokenLayersIsPasted)
{
    promise({{layersFormat, [] { return QVariant(twoLayers().first(30)); }}, {"image/png", [] { return QVariant(onePixel()); }}});
    EXPECT_EQ(paste(), 1u);
    EXPECT_EQ(window->editor().scene().layers[0].size, (CGSize{3, 2}));
}

TEST_F(SystemPasteboardTest, APictureOfTheToolkitsIsPasted)
{
    QImage image(5, 4, QImage::Format_RGB32);
    image.fill(Qt::red);
    QGuiApplication::clipboard()->setImage(image);
    EXPECT_EQ(paste(), 1u);
    EXPECT_EQ(window->editor().scene().layers[0].size, (CGSize{5, 4}));
}

TEST_F(SystemPasteboardTest, LayersWithoutEndAreRefused)
{
    struct Case {
        const char* what;
        QByteArray bytes;
    };
    for (const Case& c :
         {Case{"brackets all the way down", QByteArray(20'000'000, '[')}, Case{"nothing but gaps", QByteArray(50'000'000, ' ')},
          Case{"numbers", "[" + QByteArray("1,").repeated(5'000'000) + "1]"},
          Case{"one long word", "[\"" + QByteArray(50'000'000, 'x') + "\"]"}, Case{"zeros", QByteArray(50'000'000, '\0')}}) {
        SCOPED_TRACE(c.what);
        promise({{layersFormat, [&] { return QVariant(c.bytes); }}});
        EXPECT_EQ(paste(), 0u);
        EXPECT_FALSE(window->editor().undoManager().canUndo());
    }
}

} // namespace
} // namespace larkspool
