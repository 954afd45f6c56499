#include "DemoHost.h"

#include <OTNavigationController.h>
#include <OstQuoteViewController.h>

DemoHost::DemoHost(QQmlEngine *engine, OTNavigationController *navigation, QObject *parent)
    : QObject(parent)
    , m_engine(engine)
    , m_navigation(navigation)
{
}

void DemoHost::openViewer(bool animated)
{
    if (!m_navigation)
        return;
    if (OstQuoteViewController *viewer = OstQuoteViewController::create(m_engine))
        m_navigation->pushViewController(viewer, animated);
}
