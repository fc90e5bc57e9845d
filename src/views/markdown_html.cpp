#include "views/markdown_html.h"

#include "views/theme.h"

#include <QTextBlock>
#include <QTextDocument>
#include <QTextFragment>

#include <algorithm>
#include <array>
#include <utility>
#include <variant>

namespace larkspool {

namespace {

using Text = AssistantMarkdownText;

constexpr int lineHeight = 19, blankGap = 8, bulletGap = 14, indentStep = 14;
constexpr std::array headingSizes = {15, 13, 12, 12, 12, 12};

/// Keeps what stands at the beginning of a line from being read as the mark of a block.
constexpr QChar guard(0x2060);

QString asHTML(const QTextFragment& fragment)
{
    const QTextCharFormat format = fragment.charFormat();
    if (format.isImageFormat()) {
        const QString words = format.stringProperty(QTextFormat::ImageAltText);
        return (words.isEmpty() ? format.toImageFormat().name() : words).toHtmlEscaped();
    }
    QString html = fragment.text().toHtmlEscaped();
    if (format.fontWeight() >= QFont::DemiBold) html = "<b>" + html + "</b>";
    if (format.fontItalic()) html = "<i>" + html + "</i>";
    if (format.fontFixedPitch() || format.hasProperty(QTextFormat::FontFixedPitch))
        html = QString("<span style=\"font-family: 'DejaVu Sans Mono'; font-size: 11px; background-color: %1\">%2</span>")
                   .arg(theme().field.name(), html);
    if (format.isAnchor())
        html = QString("<a href=\"%1\" style=\"color: %2\">%3</a>")
                   .arg(format.anchorHref().toHtmlEscaped(), theme().accentText.name(), html);
    return html;
}

/// A paragraph of its own, with `above` pixels of room before it.
QString paragraphHTML(const QString& content, int above, const QString& style = {})
{
    return QString("<p style=\"margin: %1px 0 0 0; line-height: %2px; white-space: pre-wrap; %3\">%4</p>")
        .arg(above)
        .arg(lineHeight)
        .arg(style, content);
}

struct BlockHTML {
    int above; ///< Pixels of room before the block.

    QString operator()(const Text::Heading& block) const
    {
        const int size = headingSizes[static_cast<std::size_t>(block.level) - 1];
        return paragraphHTML(inlineHTML(block.text), above, QString("font-size: %1px; font-weight: 600").arg(size));
    }
    QString operator()(const Text::Bullet& block) const
    {
        constexpr std::size_t deepest = 8; // Beyond it no room is left for words.
        const int left = bulletGap + indentStep * static_cast<int>(std::min(block.indent, deepest));
        return QString("<p style=\"margin: %1px 0 0 %2px; text-indent: -%3px; line-height: %4px; white-space: pre-wrap\">"
                       "<span style=\"color: %5\">•</span>  %6</p>")
            .arg(above)
            .arg(left)
            .arg(bulletGap)
            .arg(lineHeight)
            .arg(theme().textSecondary.name(), inlineHTML(block.text));
    }
    QString operator()(const Text::Paragraph& block) const { return paragraphHTML(inlineHTML(block.text), above); }
    QString operator()(const Text::Blank&) const { return {}; }
};

} // namespace

QString inlineHTML(const std::string& text)
{
    QTextDocument document;
    const QString plain = QString::fromStdString(text);
    QTextDocument::MarkdownFeatures features = QTextDocument::MarkdownDialectCommonMark;
    features.setFlag(QTextDocument::MarkdownNoHTML);
    document.setMarkdown(guard + plain, features);
    if (document.blockCount() != 1) return plain.toHtmlEscaped();

    QString html;
    for (auto part = document.firstBlock().begin(); !part.atEnd(); ++part) html += asHTML(part.fragment());
    return html.remove(guard);
}

QString markdownHTML(const AssistantMarkdownText& text)
{
    QString html;
    int above = 0;
    for (const Text::Block& block : text.blocks()) {
        if (std::holds_alternative<Text::Blank>(block))
            above += html.isEmpty() ? 0 : blankGap;
        else
            html += std::visit(BlockHTML{std::exchange(above, 0)}, block);
    }
    return html;
}

} // namespace larkspool
