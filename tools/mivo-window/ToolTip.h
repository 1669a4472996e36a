#ifndef TOOLTIP_H
#define TOOLTIP_H

#include <QString>

/** A text marked up, so that nothing in it is taken for mark-up, and long lines are wrapped. */
inline QString toolTipText(const QString& text)
{
    return "<span>" + text.toHtmlEscaped() + "</span>";
}

#endif
