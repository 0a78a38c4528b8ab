#include "qbsvrl6/model/style.h"

namespace qbsvrl6 {

void applyStyle(ResolvedStyle& base, const Style& over) {
    const auto take = [](auto& target, const auto& source) {
        if (source) target = *source;
    };
    take(base.fontFamily, over.fontFamily);
    take(base.language, over.language);
    take(base.fontSize, over.fontSize);
    take(base.bold, over.bold);
    take(base.italic, over.italic);
    take(base.underline, over.underline);
    take(base.color, over.color);
    take(base.background, over.background);
    take(base.align, over.align);
    take(base.verticalAlign, over.verticalAlign);
    take(base.fit, over.fit);
    take(base.rotation, over.rotation);
    take(base.lineSpacing, over.lineSpacing);
    take(base.padding, over.padding);
    take(base.border.left, over.borderLeft);
    take(base.border.top, over.borderTop);
    take(base.border.right, over.borderRight);
    take(base.border.bottom, over.borderBottom);
}

}  // namespace qbsvrl6
