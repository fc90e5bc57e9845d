#include "document/transform.h"

namespace larkspool {

AffineTransform Transform::cgAffine(CGSize layerSize) const
{
    return cgAffineAbout({layerSize.width * anchorX, layerSize.height * anchorY});
}

AffineTransform Transform::cgAffineAbout(CGPoint pivot) const
{
    return AffineTransform{}
        .translatedBy(x, y)
        .translatedBy(pivot.x, pivot.y)
        .rotatedBy(radians(rotation))
        .scaledBy(scaleX, scaleY)
        .translatedBy(-pivot.x, -pivot.y);
}

} // namespace larkspool
