#pragma once

#include <OTCommonsViewController.h>

#include <QString>
#include <QtQml/qqmlregistration.h>

class QQmlEngine;

// The demo app's home screen, under the app's own navigation bar: the latest quote of the
// day as the module keeps it, refreshed from the server each time the screen is made, and a
// button into the quote viewer.
//
// On load the screen shows what the latest-quote store holds (a placeholder on a fresh
// install) and asks for today's quote with updateQuoteWithBlock(); when the answer has been
// stored it shows the store again. A failed update says why, leaves the stored quote in view
// and offers to try again (retry(), the skin's retry button while the state is Failed). The
// look is the skin DemoHome.qml (root: this type).
class DemoHomeViewController : public OTCommonsViewController
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QString title READ title CONSTANT)
    Q_PROPERTY(bool hasQuote READ hasQuote NOTIFY quoteChanged)
    Q_PROPERTY(QString quoteText READ quoteText NOTIFY quoteChanged)
    Q_PROPERTY(QString authorText READ authorText NOTIFY quoteChanged)
    Q_PROPERTY(QString translationText READ translationText NOTIFY quoteChanged)
    Q_PROPERTY(QString dayText READ dayText NOTIFY quoteChanged)
    // What stands in the quote's place while there is none; it follows the state.
    Q_PROPERTY(QString placeholderText READ placeholderText NOTIFY statusChanged)
    Q_PROPERTY(QString statusText READ statusText NOTIFY statusChanged)
    Q_PROPERTY(State state READ state NOTIFY statusChanged)
    Q_PROPERTY(QString viewerButtonTitle READ viewerButtonTitle CONSTANT)
    Q_PROPERTY(QString retryButtonTitle READ retryButtonTitle CONSTANT)

public:
    enum State {
        Idle,     // not loaded yet
        Updating, // today's quote asked for
        Updated,  // the answer is stored and shown
        Failed,   // the update failed; whatever was stored stays shown
    };
    Q_ENUM(State)

    explicit DemoHomeViewController(QQuickItem *parent = nullptr);

    // A new home screen with its skin, made in `engine`. Null when the skin cannot be made.
    static DemoHomeViewController *create(QQmlEngine *engine);

    QString title() const;
    bool hasQuote() const { return !m_quoteText.isEmpty(); }
    QString quoteText() const { return m_quoteText; }
    QString authorText() const { return m_authorText; }
    QString translationText() const { return m_translationText; }
    QString dayText() const { return m_dayText; }
    QString placeholderText() const;
    QString statusText() const { return m_statusText; }
    State state() const { return m_state; }
    QString viewerButtonTitle() const;
    QString retryButtonTitle() const;

    // Reads the latest-quote store into the screen.
    void showStoredQuote();
    // Asks for today's quote; the screen follows the answer.
    void updateQuote();

public Q_SLOTS:
    // The button's action: pushes a new quote viewer, animated.
    void openViewer();
    // The retry button's action: asks for today's quote again, unless an answer is awaited.
    void retry();

Q_SIGNALS:
    void quoteChanged();
    void statusChanged();

protected:
    void viewDidLoad() override;

private:
    void setState(State state, const QString &statusText);

    QString m_quoteText;
    QString m_authorText;
    QString m_translationText;
    QString m_dayText;
    QString m_statusText;
    State m_state = Idle;
};
