#pragma once

#include <QFont>
#include <QFontMetricsF>
#include <QQuickItem>

// Whether a Text item lays its text out as the characters it holds, markup and entities
// included, rather than obeying them: unwrapped, it is as wide as all of its characters in
// the item's font.
inline bool showsTextLiterally(QQuickItem *label)
{
    const QString text = label->property("text").toString();
    const qreal literal = QFontMetricsF(label->property("font").value<QFont>()).horizontalAdvance(text);
    const qreal shown = label->property("implicitWidth").toReal();
    return literal > 0 && qAbs(shown - literal) < literal * 0.05;
}
