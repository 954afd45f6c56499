#include "OTHUD.h"

/*!
    \qmltype OTHUDTemplate
    \inqmlmodule OstFoundation
    \instantiates OTHUD
    \brief The state of a transient message, without a look.

    The base of the skin \l OTHUD. Its properties are what a skin binds to.
*/

/*!
    \class OTHUD
    \inmodule OstFoundation
    \brief A transient message over a window: its text, its status and how far it is in view.

    Global::showHUB() makes them. The skin, the QML type \l {OstFoundation::OTHUD}{OTHUD}, draws
    the message and eases \l presentation when it changes. In QML the bare type is
    \l {OstFoundation::OTHUDTemplate}{OTHUDTemplate}.
*/
OTHUD::OTHUD(QQuickItem *parent)
    : QQuickItem(parent)
{
}

/*!
    Sets the message to \a text with the icon of \a status.
*/
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
/*!
    \qmlproperty string OTHUDTemplate::text
    \readonly

    The message.
*/

/*!
    \qmlproperty int OTHUDTemplate::status
    \readonly

    The message's icon: 0 plain text, 1 a success tick, 2 an error cross.
*/

/*!
    \qmlproperty real OTHUDTemplate::presentation

    How far the message is in view, from 1 (shown) to 0 (gone). Set to where the message is
    asked to go; a skin's Behavior on it turns the change into a fade.
*/

/*!
    \qmlproperty bool OTHUDTemplate::fading

    Set by the skin while its fade runs (bound to its animation's \c running): the message goes
    when the fade ends.
*/

/*!
    \property OTHUD::text
    \brief The message.
*/

/*!
    \property OTHUD::status
    \brief The message's icon: 0 plain text, 1 a success tick, 2 an error cross.
*/

/*!
    \property OTHUD::presentation
    \brief How far the message is in view, from 1 (shown) to 0 (gone).

    Values are held to that range.
*/

/*!
    \property OTHUD::fading
    \brief Whether the skin's fade runs; set by the skin.
*/

/*!
    \fn OTHUD::OTHUD(QQuickItem *parent)

    Constructs a message item with \a parent.
*/
