#include "OTStackViewRequests.h"

#include "OTSkin.h"

/*!
    \qmltype OTStackViewRequests
    \inqmlmodule OstFoundation
    \instantiates OTStackViewRequests
    \brief The requests of a screen to a host app's StackView, without their handling.

    The base of \l OTStackViewNavigator.
*/

namespace {

const QUrl kNavigatorURL(QStringLiteral("qrc:/OstFoundation/OTStackViewNavigator.qml"));

} // namespace

/*!
    \class OTStackViewRequests
    \inmodule OstFoundation
    \brief What a screen asks of a StackView that is not a navigation host's.

    A host app's own StackView: push a screen, pop the top one. C++ only says what; the QML side,
    \l {OstFoundation::OTStackViewNavigator}{OTStackViewNavigator}, does it with the StackView's
    own calls and operations.
*/
OTStackViewRequests::OTStackViewRequests(QObject *parent)
    : QObject(parent)
{
}

/*!
    Returns a new navigator for \a stackView, made in \a engine and owned by \a parent, or null
    when it cannot be made.
*/
OTStackViewRequests *OTStackViewRequests::create(QQmlEngine *engine, QQuickItem *stackView, QObject *parent)
{
    auto *requests = OTSkin::createAs<OTStackViewRequests>(engine, kNavigatorURL, "_otStackViewNavigator");
    if (!requests)
        return nullptr;
    requests->setParent(parent);
    requests->setStackView(stackView);
    return requests;
}

/*!
    Makes the requests go to \a stackView.
*/
void OTStackViewRequests::setStackView(QQuickItem *stackView)
{
    if (m_stackView == stackView)
        return;
    m_stackView = stackView;
    Q_EMIT stackViewChanged();
}

/*!
    \qmlproperty Item OTStackViewRequests::stackView
    \readonly

    The StackView the requests are for.
*/

/*!
    \qmlsignal OTStackViewRequests::pushRequested(Item item, bool animated)

    Asks for \a item to be pushed, \a animated or at once.
*/

/*!
    \qmlsignal OTStackViewRequests::popRequested(bool animated)

    Asks for the top item to be popped, \a animated or at once.
*/

/*!
    \property OTStackViewRequests::stackView
    \brief The StackView the requests are for.
*/

/*!
    \fn OTStackViewRequests::OTStackViewRequests(QObject *parent)

    Constructs a request object with \a parent.
*/

/*!
    \fn void OTStackViewRequests::pushRequested(QQuickItem *item, bool animated)

    This signal asks for \a item to be pushed, \a animated or at once.
*/

/*!
    \fn void OTStackViewRequests::popRequested(bool animated)

    This signal asks for the top item to be popped, \a animated or at once.
*/
