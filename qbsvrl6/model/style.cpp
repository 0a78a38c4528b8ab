#include "qbsvrl6/model/style.h"

namespace qbsvrl6 {

namespace {

// The properties that styles as written and styles as resolved have under one name.
template <class Base>
void takeCommon(Base& base, const Style& over) {
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
}

}  // namespace

void applyStyle(ResolvedStyle& base, const Style& over) {
    takeCommon(base, over);
    if (over.borderLeft) base.border.left = *over.borderLeft;
    if (over.borderTop) base.border.top = *over.borderTop;
    if (over.borderRight) base.border.right = *over.borderRight;
    if (over.borderBottom) base.border.bottom = *over.borderBottom;
}

void overlay(Style& base, const Style& over) {
    takeCommon(base, over);
    if (over.borderLeft) base.borderLeft = over.borderLeft;
    if (over.borderTop) base.borderTop = over.borderTop;
    if (over.borderRight) base.borderRight = over.borderRight;
    if (over.borderBottom) base.borderBottom = over.borderBottom;
}

}  // namespace qbsvrl6
