#pragma once

#include "OstFoundationGlobal.h"

#include <QQuickItem>
#include <QString>
#include <QtQml/qqmlregistration.h>

// A transient message over a window (Global::showHUB makes them): its text, its status (0
// plain, 1 success, 2 error) and how far it is in view, from 1 (shown) to 0 (gone). Its skin
// (OTHUDSkin.qml, the QML type OTHUD; this C++ type is OTHUDTemplate in QML) draws it and eases `presentation` when it changes.
class OSTFOUNDATION_EXPORT OTHUD : public QQuickItem
{
    Q_OBJECT
    QML_NAMED_ELEMENT(OTHUDTemplate)
    Q_PROPERTY(QString text READ text NOTIFY textChanged FINAL)
    Q_PROPERTY(int status READ status NOTIFY statusChanged FINAL)
    Q_PROPERTY(qreal presentation READ presentation WRITE setPresentation NOTIFY presentationChanged FINAL)
    // Set by the skin while its fade runs: the message goes when the fade ends.
    Q_PROPERTY(bool fading READ fading WRITE setFading NOTIFY fadingChanged FINAL)

public:
    explicit OTHUD(QQuickItem *parent = nullptr);

    QString text() const { return m_text; }
    int status() const { return m_status; }
    void setMessage(const QString &text, int status);

    qreal presentation() const { return m_presentation; }
    void setPresentation(qreal presentation);
    bool fading() const { return m_fading; }
    void setFading(bool fading);

Q_SIGNALS:
    void textChanged();
    void statusChanged();
    void presentationChanged();
    void fadingChanged();

private:
    QString m_text;
    int m_status = 0;
    qreal m_presentation = 1;
    bool m_fading = false;
};
