#pragma once

#include "ClientCache.h"
#include "SceneItems.h"
#include "ServerHarness.h"
#include "TestWindow.h"
#include "TouchScreen.h"
#include "OstQuoteViewController.h"

#include <OTClock.h>
#include <OTNavigationController.h>
#include <OTScrollView.h>
#include "RecordingSocialServiceBackend.h"
#include <OTSocialService.h>
#include <OstAPIClient.h>

#include <QStandardPaths>

// The quote viewer on a navigation host in a real window, against the real server on
// loopback. The server's and the app's "now" is Wednesday 1 March 2017, 10:00 UTC, unless a
// test starts the server again; the social service records the shares.
class ViewerFixture : public QObject
{
protected:
    const QDateTime kNow{QDate(2017, 3, 1), QTime(10, 0), Qt::UTC};

    TestServer m_server;
    std::unique_ptr<QQuickView> m_view;
    OTNavigationController *m_navigation = nullptr;
    QPointer<OstQuoteViewController> m_viewer;
    OTRecordingSocialServiceBackend *m_shares = nullptr;

    // An item of the share panel: its sheets lie in the panel's popup, in the window's overlay.
    QQuickItem *panelItem(const QString &name) const { return findItem(m_view->contentItem(), name); }

    // The share panel has the keyboard: the focused item is its popup or in it.
    bool panelHoldsKeyboard() const
    {
        QQuickItem *content = panelItem(QStringLiteral("sharePanelContent"));
        QQuickItem *popup = content ? content->parentItem() : nullptr;
        QQuickItem *focus = m_view->activeFocusItem();
        return popup && focus && (focus == popup || popup->isAncestorOf(focus));
    }

    // The server (and the app's clock) started at `now`, the shared client pointed at it.
    bool startServer(const QDateTime &now)
    {
        OTClock::setNow(now);
        if (!m_server.start(now)) {
            qWarning() << m_server.errorString();
            return false;
        }
        OstAPIClient::sharedClient()->setBaseURL(m_server.baseURL());
        return true;
    }

    // For init(): a device that has seen nothing, the server, and the window with a plain root
    // screen on its navigation host.
    void setUpViewer()
    {
        QStandardPaths::setTestModeEnabled(true);
        if (!m_shares) {
            auto backend = std::make_unique<OTRecordingSocialServiceBackend>();
            m_shares = backend.get();
            OTSocialService::defaultService()->setBackend(std::move(backend));
        }
        m_shares->shares.clear();
        m_shares->activities.clear();
        forgetCachedAnswers(OstAPIClient::sharedClient());
        OTClock::setTimeZone(QTimeZone("UTC"));
        QVERIFY(startServer(kNow));
        m_view = openTestWindow();
        QVERIFY(m_view);
        m_navigation = OTNavigationController::create(m_view->engine(), m_view->rootObject());
        QVERIFY(m_navigation);
        m_navigation->setSize(QSizeF(375, 667));
        m_navigation->pushViewController(new OTCommonsViewController, false);
    }

    void tearDownViewer()
    {
        delete m_navigation;
        m_navigation = nullptr;
        m_view.reset();
        m_server.stop();
    }

    OstQuoteGalleryView *gallery() const { return m_viewer->galleryView(); }
    QQuickItem *item(const char *name) const { return findItem(m_viewer, QLatin1String(name)); }

    void waitForRest()
    {
        OTScrollView *scroll = gallery()->scrollView();
        QTRY_VERIFY(!scroll->dragging() && !scroll->decelerating() && !scroll->animating());
    }

    // A viewer pushed, without animation, over the root screen; opened at `day` if given.
    void openViewer(const QString &day = QString())
    {
        m_viewer = OstQuoteViewController::create(m_view->engine());
        QVERIFY(m_viewer);
        if (!day.isNull())
            m_viewer->setInitialDay(day);
        m_navigation->pushViewController(m_viewer, false);
        QVERIFY(m_viewer->isViewLoaded());
        QCOMPARE(m_navigation->topViewController(), m_viewer.data());
    }

    // Today's page in view, filled, at rest, with the bar gone and the day before known.
    void openViewerOnToday()
    {
        openViewer();
        QTRY_VERIFY(gallery()->numberOfQuotes() > 0);
        waitForRest();
        QTRY_VERIFY(gallery()->currentQuoteView() && gallery()->currentQuoteView()->quote());
        QTRY_VERIFY(m_viewer->quotes().contains(m_viewer->convertToDateStringWithIndex(1)));
        QTRY_VERIFY(m_viewer->isVisibleOnScreen());
        QTRY_COMPARE(m_navigation->navigationBarHiddenProgress(), 1.0);
    }

    // A touch swipe across the window by `dx` points: quick (a flick) or slow.
    void swipe(int dx, bool quick = true)
    {
        const QPoint from(dx > 0 ? 40 : 335, 400);
        touchDrag(m_view.get(), from, QPoint(dx, 0), quick ? 4 : 20, quick ? 8 : 16);
        waitForRest();
    }
};
