#include "OTStackViewRequests.h"

#include "OTSkin.h"

namespace {

const QUrl kNavigatorURL(QStringLiteral("qrc:/OstFoundation/OTStackViewNavigator.qml"));

} // namespace

OTStackViewRequests::OTStackViewRequests(QObject *parent)
    : QObject(parent)
{
}

OTStackViewRequests *OTStackViewRequests::create(QQmlEngine *engine, QQuickItem *stackView, QObject *parent)
{
    auto *requests = OTSkin::createAs<OTStackViewRequests>(engine, kNavigatorURL, "_otStackViewNavigator");
    if (!requests)
        return nullptr;
    requests->setParent(parent);
    requests->setStackView(stackView);
    return requests;
}

void OTStackViewRequests::setStackView(QQuickItem *stackView)
{
    if (m_stackView == stackView)
        return;
    m_stackView = stackView;
    Q_EMIT stackViewChanged();
}
