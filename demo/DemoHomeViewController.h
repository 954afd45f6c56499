#pragma once

#include <OTCommonsViewController.h>

#include <QDate>
#include <QString>
#include <QtQml/qqmlregistration.h>

class QQmlEngine;

// The demo app's home screen, under the app's own navigation bar: the latest quote of the
// day as the module keeps it, refreshed from the server each time the screen is made, a
// button into the quote viewer and a day picker ("Open a day…") that opens the viewer at a
// chosen day.
//
// On load the screen shows what the latest-quote store holds (a placeholder on a fresh
// install) and asks for today's quote with updateQuoteWithBlock(); when the answer has been
// stored it shows the store again. A failed update says why, leaves the stored quote in view
// and offers to try again (retry(), the skin's retry button while the state is Failed). The
// look is the skin DemoHome.qml (root: this type).
//
// The day picker shows one month of the calendar at a time, and only the days that have a
// quote can be picked: the first day with a quote (firstDay) through today (lastDay, the
// device's day in the foundation's clock and zone, read each time the picker opens). One
// day holds the picker's keyboard focus (focusedDay); the month shown is always that day's
// month, so flipping a month moves the focused day with it, and moving the focused day past
// the month's edge shows the next or the previous month. The skin opens and closes its popup
// as dayPickerOpen says, and turns keys and clicks into the requests below; every request
// that would leave the range is refused or kept to its edge. The picker's own texts are in
// English or, when the locale's language is Chinese, in Chinese; month and weekday names
// come from the locale.
class DemoHomeViewController : public OTCommonsViewController
{
    Q_OBJECT
    QML_ELEMENT
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

    // The day picker.
    Q_PROPERTY(QString firstDay READ firstDay CONSTANT)
    Q_PROPERTY(QString lastDay READ lastDay NOTIFY dayPickerChanged)
    Q_PROPERTY(bool dayPickerOpen READ isDayPickerOpen NOTIFY dayPickerChanged)
    Q_PROPERTY(QString focusedDay READ focusedDay NOTIFY focusedDayChanged)
    // The month shown: its year, its month (1 to 12) and its title ("March 2017", "2017年3月").
    Q_PROPERTY(int shownYear READ shownYear NOTIFY shownMonthChanged)
    Q_PROPERTY(int shownMonth READ shownMonth NOTIFY shownMonthChanged)
    Q_PROPERTY(QString shownMonthTitle READ shownMonthTitle NOTIFY shownMonthChanged)
    Q_PROPERTY(bool canShowPreviousMonth READ canShowPreviousMonth NOTIFY shownMonthChanged)
    Q_PROPERTY(bool canShowNextMonth READ canShowNextMonth NOTIFY shownMonthChanged)
    Q_PROPERTY(QString openDayButtonTitle READ openDayButtonTitle CONSTANT)
    Q_PROPERTY(QString dayPickerTitle READ dayPickerTitle CONSTANT)
    Q_PROPERTY(QString previousMonthTitle READ previousMonthTitle CONSTANT)
    Q_PROPERTY(QString nextMonthTitle READ nextMonthTitle CONSTANT)
    // Said of a day that cannot be picked.
    Q_PROPERTY(QString unavailableDayText READ unavailableDayText CONSTANT)

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

    // The first day with a quote, 2016-10-01.
    static QString firstDay();
    QString lastDay() const;
    bool isDayPickerOpen() const { return m_dayPickerOpen; }
    QString focusedDay() const;
    int shownYear() const { return m_focusedDay.year(); }
    int shownMonth() const { return m_focusedDay.month(); }
    QString shownMonthTitle() const;
    bool canShowPreviousMonth() const;
    bool canShowNextMonth() const;
    QString openDayButtonTitle() const;
    QString dayPickerTitle() const;
    QString previousMonthTitle() const;
    QString nextMonthTitle() const;
    QString unavailableDayText() const;

    // Whether `dayKey` ("yyyy-MM-dd") names a day of the picker's range (today as of the
    // last opening).
    Q_INVOKABLE bool canPickDay(const QString &dayKey) const;
    // `dayKey` in words, as a screen reader says it: "Tuesday, 14 February 2019",
    // "2019年2月14日星期二". Empty for anything that is not a day key.
    Q_INVOKABLE QString spokenDay(const QString &dayKey) const;

    // Pushes a new quote viewer, animated, that opens at `dayKey` once today's answer is known.
    void openViewerAtDay(const QString &dayKey);

    // Reads the latest-quote store into the screen.
    void showStoredQuote();
    // Asks for today's quote; the screen follows the answer.
    void updateQuote();

public Q_SLOTS:
    // The button's action: pushes a new quote viewer, animated.
    void openViewer();
    // The retry button's action: asks for today's quote again, unless an answer is awaited.
    void retry();

    // Opens the day picker on today's month, today focused. Refused (false) when today comes
    // before the first day with a quote.
    bool openDayPicker();
    void closeDayPicker();
    // Shows the month `months` away, the focused day moved with it (kept in the month and in
    // the range). Refused (false) when that month has no day of the range.
    bool flipMonth(int months);
    // Moves the focused day `days` on (back when negative), across months, kept in the range.
    void moveFocusedDay(int days);
    // Home and End: the focused day goes to the first day with a quote, or to today.
    void focusFirstDay();
    void focusLastDay();
    // Closes the picker and opens the viewer at `dayKey`. Refused (false, the picker left as
    // it is) when the picker is closed or `dayKey` is not a day of its range.
    bool pickDay(const QString &dayKey);
    bool pickFocusedDay();

Q_SIGNALS:
    void quoteChanged();
    void statusChanged();
    void dayPickerChanged();
    void focusedDayChanged();
    void shownMonthChanged();

protected:
    void viewDidLoad() override;

private:
    void setState(State state, const QString &statusText);
    void setFocusedDay(const QDate &day);
    QDate clampToRange(const QDate &day) const;

    QString m_quoteText;
    QString m_authorText;
    QString m_translationText;
    QString m_dayText;
    QString m_statusText;
    State m_state = Idle;

    bool m_dayPickerOpen = false;
    QDate m_lastDay;
    QDate m_focusedDay;
};
