#include "OTHUD.h"

OTHUD::OTHUD(QQuickItem *parent)
    : QQuickItem(parent)
{
}

void OTHUD::setMessage(const QString &text, int status)
{
    if (m_text != text) {
        m_text = text;
        Q_EMIT textChanged();
    }
    if (m_status != status) {
        m_status = status;
        Q_EMIT statusChanged();
    }
}

void OTHUD::setPresentation(qreal presentation)
{
    presentation = qBound<qreal>(0, presentation, 1);
    if (qFuzzyCompare(1.0 + m_presentation, 1.0 + presentation))
        return;
    m_presentation = presentation;
    Q_EMIT presentationChanged();
}

void OTHUD::setFading(bool fading)
{
    if (m_fading == fading)
        return;
    m_fading = fading;
    Q_EMIT fadingChanged();
}
