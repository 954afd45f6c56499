import QtQuick
import OstFoundation

/*!
    \qmltype OTHUD
    \inqmlmodule OstFoundation
    \inherits OTHUDTemplate
    \brief A transient message over a window, skin included.

    A dark rounded box in the middle of the window with white text, and a tick (status 1) or a
    cross (status 2) above the text. It lets every touch through. When its time is up it is
    asked for \l {OTHUDTemplate::}{presentation} 0, and fades there over OTPalette.fadeDuration.
    Global::showHUB() shows one.
*/
// A transient message over a window: a dark rounded box in the middle, white text, with a
// tick (status 1) or a cross (status 2) above the text. It lets every touch through. When
// its time is up it is asked for presentation 0, and fades there.
OTHUDTemplate {
    id: hud
    objectName: "OTHUD"

    anchors.fill: parent
    opacity: presentation

    fading: fade.running
    Behavior on presentation {
        NumberAnimation { id: fade; duration: OTPalette.fadeDuration }
    }

    Rectangle {
        id: box
        objectName: "OTHUDBox"
        anchors.centerIn: hud
        width: Math.max(column.width + 32, hud.status > 0 ? 112 : 0)
        height: column.height + (hud.status > 0 ? 40 : 24)
        radius: 10
        color: OTPalette.ostrelHUDColor

        Column {
            id: column
            anchors.centerIn: box
            spacing: 8

            Text {
                anchors.horizontalCenter: column.horizontalCenter
                visible: hud.status === 1 || hud.status === 2
                text: hud.status === 2 ? "\u2715" : "\u2713"
                font.pixelSize: OTPalette.hudSymbolFontSize
                color: OTPalette.ostrelWhite
            }
            Text {
                id: label
                objectName: "OTHUDLabel"
                anchors.horizontalCenter: column.horizontalCenter
                width: Math.min(metrics.advanceWidth + 1, Math.max(120, hud.width - 96))
                text: hud.text
                textFormat: Text.PlainText
                wrapMode: Text.Wrap
                horizontalAlignment: Text.AlignHCenter
                font.family: OTPalette.fontFamily
                font.pixelSize: OTPalette.hudFontSize
                color: OTPalette.ostrelWhite

                TextMetrics {
                    id: metrics
                    font: label.font
                    text: label.text
                }
            }
        }
    }
}
