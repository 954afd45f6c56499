#pragma once

#include <OTCommonsViewController.h>

#include <QStringList>

// A screen that writes down its life cycle: "load", "willAppear(1)", ... in its own `calls`,
// and, given a shared log, there too with its name in front ("B.willAppear(1)"). A screen that
// has left its navigation host by the time it says it disappeared writes "didDisappear-orphan".
// Its title is "<name> title" until set.
class RecordingScreen : public OTCommonsViewController
{
    Q_OBJECT
public:
    explicit RecordingScreen(const QString &name = QString(), QStringList *log = nullptr)
        : m_name(name), m_log(log)
    {
        setTitle(name + QStringLiteral(" title"));
    }

    QStringList calls;
    int loads = 0;

    void viewWillAppear(bool animated) override
    {
        OTCommonsViewController::viewWillAppear(animated);
        record(QStringLiteral("willAppear"), animated);
    }
    void viewDidAppear(bool animated) override
    {
        OTCommonsViewController::viewDidAppear(animated);
        record(QStringLiteral("didAppear"), animated);
    }
    void viewWillDisappear(bool animated) override
    {
        OTCommonsViewController::viewWillDisappear(animated);
        record(QStringLiteral("willDisappear"), animated);
    }
    void viewDidDisappear(bool animated) override
    {
        OTCommonsViewController::viewDidDisappear(animated);
        const bool orphan = m_log && !navigationController();
        record(orphan ? QStringLiteral("didDisappear-orphan") : QStringLiteral("didDisappear"), animated);
    }

protected:
    void viewDidLoad() override
    {
        OTCommonsViewController::viewDidLoad();
        ++loads;
        write(QStringLiteral("load"));
    }

private:
    void record(const QString &what, bool animated) { write(QStringLiteral("%1(%2)").arg(what).arg(int(animated))); }
    void write(const QString &entry)
    {
        calls << entry;
        if (m_log)
            m_log->append(m_name + QLatin1Char('.') + entry);
    }

    QString m_name;
    QStringList *m_log;
};
