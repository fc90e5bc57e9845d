#pragma once

#include "assistant/markdown_text.h"

#include <QString>

namespace larkspool {

/// The blocks as rich text of a label, in the type and the colours of the theme.
QString markdownHTML(const AssistantMarkdownText& text);

/// Text of one block with its bold, italic and code parts and its links; nothing in it counts as a block, a picture or markup of
/// its own. White space stays.
QString inlineHTML(const std::string& text);

} // namespace larkspool
