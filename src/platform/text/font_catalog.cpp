#include "platform/text/font_catalog.h"

#include <fontconfig/fontconfig.h>
#include <pango/pangofc-fontmap.h>

#include <map>
#include <memory>

#if defined(__has_feature)
#define LARKSPOOL_HAS_FEATURE(feature) __has_feature(feature)
#else
#define LARKSPOOL_HAS_FEATURE(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || LARKSPOOL_HAS_FEATURE(address_sanitizer)
/// Fontconfig loses a pattern of some 300 bytes while it reads its settings, once in a process.
extern "C" const char* __lsan_default_suppressions();
extern "C" const char* __lsan_default_suppressions()
{
    return "leak:libfontconfig.so.1\n";
}
#endif
#undef LARKSPOOL_HAS_FEATURE

namespace larkspool {

namespace {

constexpr const char* systemFamily = "Inter";

/// A name without what tells names apart only by accident: "Inter Semi Bold", "Inter SemiBold" and "Inter-SemiBold" are one.
std::string plainName(std::string_view name)
{
    std::string plain;
    for (const char c : name) {
        if (c == ' ' || c == '-' || c == '_') continue;
        plain += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return plain;
}

struct FontSetDeleter {
    void operator()(FcFontSet* fonts) const { FcFontSetDestroy(fonts); }
};
struct PatternDeleter {
    void operator()(FcPattern* pattern) const { FcPatternDestroy(pattern); }
};
struct ObjectSetDeleter {
    void operator()(FcObjectSet* objects) const { FcObjectSetDestroy(objects); }
};
struct DescriptionDeleter {
    void operator()(PangoFontDescription* description) const { pango_font_description_free(description); }
};

std::optional<std::string> textOf(FcPattern* pattern, const char* property, int index)
{
    FcChar8* text = nullptr;
    if (FcPatternGetString(pattern, property, index, &text) != FcResultMatch) return std::nullopt;
    return reinterpret_cast<const char*>(text);
}

FontWish faceOf(FcPattern* pattern, const std::string& family)
{
    const std::unique_ptr<PangoFontDescription, DescriptionDeleter> face(pango_fc_font_description_from_pattern(pattern, FALSE));
    return {family, pango_font_description_get_weight(face.get()), pango_font_description_get_style(face.get()),
            pango_font_description_get_stretch(face.get())};
}

/// All names, and what they stand for. A family's own name stands for its regular face and comes before names of faces, which
/// come before the further family names that some files have.
using Catalog = std::map<std::string, FontWish, std::less<>>;

void addNames(Catalog& catalog, FcFontSet& fonts, const char* property)
{
    for (int i = 0; i < fonts.nfont; ++i) {
        FcPattern* font = fonts.fonts[i];
        FcBool variable = FcFalse;
        if (FcPatternGetBool(font, FC_VARIABLE, 0, &variable) == FcResultMatch && variable) continue; // Of no weight of its own.
        const std::optional<std::string> family = textOf(font, FC_FAMILY, 0);
        if (!family) continue;
        for (int n = 0; const std::optional<std::string> name = textOf(font, property, n); ++n)
            catalog.try_emplace(plainName(*name), faceOf(font, *family));
    }
}

Catalog readCatalog()
{
    const std::unique_ptr<FcPattern, PatternDeleter> any(FcPatternCreate());
    const std::unique_ptr<FcObjectSet, ObjectSetDeleter> objects(FcObjectSetBuild(FC_FAMILY, FC_FULLNAME, FC_POSTSCRIPT_NAME,
                                                                                  FC_STYLE, FC_WEIGHT, FC_SLANT, FC_WIDTH,
                                                                                  FC_VARIABLE, static_cast<char*>(nullptr)));
    const std::unique_ptr<FcFontSet, FontSetDeleter> fonts(FcFontList(nullptr, any.get(), objects.get()));

    Catalog catalog;
    if (!fonts) return catalog;
    for (int i = 0; i < fonts->nfont; ++i)
        if (const auto family = textOf(fonts->fonts[i], FC_FAMILY, 0)) catalog.try_emplace(plainName(*family), FontWish{*family});
    for (const char* property : {FC_FULLNAME, FC_POSTSCRIPT_NAME, FC_FAMILY}) addNames(catalog, *fonts, property);
    catalog.erase("");
    return catalog;
}

} // namespace

std::optional<FontWish> findFont(std::string_view name)
{
    static const Catalog catalog = readCatalog();
    const auto found = catalog.find(plainName(name));
    if (found == catalog.end()) return std::nullopt;
    return found->second;
}

FontWish fontOrSystemFont(std::string_view name)
{
    return findFont(name).value_or(FontWish{systemFamily});
}

} // namespace larkspool
