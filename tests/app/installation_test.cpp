#include "app/scratch_folder.h"
#include "app/test_documents.h"
#include "support/film_probe.h"

#include <cstdlib>
#include <filesystem>

#include <fmt/format.h>
#include <gtest/gtest.h>

namespace larkspool {
namespace {

constexpr std::string_view arrowLayer = R"({"kind":"cursor","size":[32,32],"fill":{"r":0,"g":0,"b":0,"a":1}})";
constexpr std::string_view redSquare =
    R"(<svg xmlns="http://www.w3.org/2000/svg" width="8" height="8"><rect width="8" height="8" fill="#f00"/></svg>)";

struct Colour {
    int r, g, b;

    bool operator==(const Colour&) const = default;
    friend std::ostream& operator<<(std::ostream& out, const Colour& c) { return out << c.r << ' ' << c.g << ' ' << c.b; }
};

/// The colour that the installed program gives a place that lies within the arrow's body.
Colour drawnArrow(const ScratchFolder& folder)
{
    const std::string document = folder.write("in.larkspool", documentText({SceneText{.layers = std::string(arrowLayer)}}));
    const std::string command = fmt::format("'{}' frame '{}' --scene 0 --at 0 -o '{}'", folder.file("usr/bin/larkspool"), document,
                                            folder.file("frame.png"));
    EXPECT_EQ(std::system(command.c_str()), 0);
    const std::vector<PixelBuffer> pictures = decodedFrames(folder.file("frame.png"));
    const std::uint8_t* pixel = pictures.at(0).row(16) + std::ptrdiff_t{4} * 10;
    return {pixel[2], pixel[1], pixel[0]};
}

TEST(Installation, BringsTheEditorAndTheCursorsAndTheProgramFindsThem)
{
    const ScratchFolder folder;
    const std::string command =
        fmt::format("'{}' --install '{}' --prefix '{}' > /dev/null", LARKSPOOL_CMAKE, LARKSPOOL_BUILD_FOLDER, folder.file("usr"));
    ASSERT_EQ(std::system(command.c_str()), 0);
    const std::string cursors = folder.file("usr/share/larkspool/Cursors");
    for (const char* name : {"arrow", "pointer", "grab", "grabbing", "ibeam", "duplicate"})
        EXPECT_TRUE(std::filesystem::exists(fmt::format("{}/{}.svg", cursors, name))) << name;

    for (const char* name : {"bin/larkspool-editor", "share/applications/larkspool.desktop", "share/mime/packages/larkspool.xml",
                             "share/icons/hicolor/scalable/apps/larkspool.svg"})
        EXPECT_TRUE(std::filesystem::exists(folder.file(fmt::format("usr/{}", name)))) << name;

    EXPECT_LT(drawnArrow(folder).r, 40);
    folder.write("usr/share/larkspool/Cursors/arrow.svg", std::string(redSquare));
    EXPECT_EQ(drawnArrow(folder), (Colour{255, 0, 0}));
    std::filesystem::remove_all(cursors);
    EXPECT_LT(drawnArrow(folder).r, 40) << "without them, too, there is an arrow";
}

} // namespace
} // namespace larkspool
