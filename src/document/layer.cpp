#include "document/layer.h"

#include <algorithm>

namespace larkspool {

// One shared text each, so that a fresh layer allocates nothing for them.
const SharedString& Layer::defaultName()
{
    static const SharedString name = "Layer";
    return name;
}

const SharedString& Layer::defaultText()
{
    static const SharedString words = "Text";
    return words;
}

std::optional<Array<Layer>> Layer::outlineChildren() const
{
    if (kind != Kind::group) return std::nullopt;
    return std::vector<Layer>(std::make_reverse_iterator(children.end()), std::make_reverse_iterator(children.begin()));
}

} // namespace larkspool
