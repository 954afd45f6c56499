import QtQuick
import QtQuick.Templates as T
import OstFoundation

// The look of a navigation host: a white bar, 44 high with a hairline at its foot, over the
// stack of screens. The bar carries a back button on the left (only with a screen to go back
// to) and the top screen's title in its middle. As the bar slides up out of view the stack
// grows with it, so a screen under a hidden bar has the whole host.
//
// The host asks, the skin does: each request is carried out on the StackView at once, and the
// StackView's busy goes back to the host, which finishes its screens' changes when it falls.
OTNavigationController {
    id: host

    stackViewBusy: stack.busy

    onPushRequested: (item, animated) => stack.push(item, {}, animated ? T.StackView.PushTransition
                                                                       : T.StackView.Immediate)
    onPopRequested: (target, animated) => stack.pop(target, animated ? T.StackView.PopTransition
                                                                     : T.StackView.Immediate)
    // A null target replaces every item of the stack.
    onReplaceRequested: items => stack.replace(null, items, T.StackView.Immediate)

    Behavior on navigationBarHiddenProgress {
        enabled: host.navigationBarAnimated
        NumberAnimation { duration: OTPalette.navigationBarDuration; easing.type: Easing.InOutQuad }
    }

    T.StackView {
        id: stack
        objectName: "stackView"
        x: 0
        y: bar.y + bar.height
        width: host.width
        height: host.height - y
        clip: true

        // Screens slide in from the right and back out to it; the one underneath moves
        // along by the full width. An exit puts its screen back in place once it is hidden,
        // so that a later change without animation finds it there.
        pushEnter: Transition {
            NumberAnimation { property: "x"; from: stack.width; to: 0; duration: OTPalette.stackTransitionDuration; easing.type: Easing.OutCubic }
        }
        pushExit: Transition {
            SequentialAnimation {
                NumberAnimation { property: "x"; from: 0; to: -stack.width; duration: OTPalette.stackTransitionDuration; easing.type: Easing.OutCubic }
                PropertyAction { property: "x"; value: 0 }
            }
        }
        popEnter: Transition {
            NumberAnimation { property: "x"; from: -stack.width; to: 0; duration: OTPalette.stackTransitionDuration; easing.type: Easing.OutCubic }
        }
        popExit: Transition {
            SequentialAnimation {
                NumberAnimation { property: "x"; from: 0; to: stack.width; duration: OTPalette.stackTransitionDuration; easing.type: Easing.OutCubic }
                PropertyAction { property: "x"; value: 0 }
            }
        }
    }

    Rectangle {
        id: bar
        objectName: "navigationBar"
        x: 0
        y: -height * host.navigationBarHiddenProgress
        z: 1
        width: host.width
        height: 44
        visible: host.navigationBarHiddenProgress < 1
        color: OTPalette.ostrelWhite

        Rectangle {
            objectName: "navigationBarHairline"
            width: bar.width
            height: 1 / Math.max(1, Screen.devicePixelRatio)
            y: bar.height - height
            color: OTPalette.ostrelHairlineColor
        }

        T.AbstractButton {
            id: back
            objectName: "navigationBackButton"
            x: 0
            y: 0
            width: 60
            height: bar.height
            padding: 0
            visible: host.depth > 1
            // Tab reaches it (a ring shows it), Enter or Space presses it; screen readers
            // call it by name.
            focusPolicy: Qt.TabFocus
            Accessible.role: Accessible.Button
            Accessible.name: OTLocalizable.string("navigation_back")
            Keys.onReturnPressed: back.clicked()
            Keys.onEnterPressed: back.clicked()
            background: Rectangle {
                objectName: "navigationBackButtonFocusRing"
                color: "transparent"
                radius: 4
                border.width: 2
                border.color: OTPalette.ostrelFocusColor
                visible: back.visualFocus
            }
            contentItem: Item {
                Image {
                    x: 10
                    y: Math.round((back.height - height) / 2)
                    source: back.pressed ? "qrc:/OstFoundation/images/ostrel_navigation_bar_back_highlight.png"
                                         : "qrc:/OstFoundation/images/ostrel_navigation_bar_back.png"
                }
            }
            onClicked: {
                if (host.topViewController)
                    host.topViewController.backAction()
            }
        }

        Text {
            id: titleLabel
            objectName: "navigationTitle"
            anchors.centerIn: bar
            width: Math.min(implicitWidth, bar.width - 2 * back.width)
            text: host.title
            elide: Text.ElideRight
            horizontalAlignment: Text.AlignHCenter
            font.family: OTPalette.fontFamily
            font.pixelSize: 17
            font.weight: Font.DemiBold
            color: OTPalette.ostrelFontColorTitle
        }
    }
}
