import QtQuick
import QtQuick.Templates as T
import OstFoundation

/*!
    \qmltype OTNavigationController
    \inqmlmodule OstFoundation
    \inherits OTNavigationControllerTemplate
    \brief A navigation host, skin included: a stack of screens under a navigation bar.

    A white bar, 44 high with a hairline at its foot, over the stack of screens. The bar carries
    a back button on the left (only with a screen to go back to) and the top screen's title in
    its middle. A screen stands under the bar while it shows and takes the whole host while it is
    hidden: the screen at rest on top grows as the bar slides up out of view. A slide between
    screens moves nothing but the slide: the screen coming in stands where it will stay from its
    first frame (a screen that hides the bar comes in full height while the bar slides away above
    it), the one going out where it was.

    The host asks, the skin does: each request is carried out on the skin's StackView at once,
    and the StackView's \c busy goes back to the host, which finishes its screens' changes when
    it falls. From C++, OTNavigationController::create() makes one.
*/
// The look of a navigation host: a white bar, 44 high with a hairline at its foot, over the
// stack of screens. The bar carries a back button on the left (only with a screen to go back
// to) and the top screen's title in its middle. A screen stands under the bar while it shows
// and takes the whole host while it is hidden: the screen at rest on top grows as the bar
// slides up out of view. A slide between screens moves nothing but the slide: the screen
// coming in stands where it will stay from its first frame (a screen that hides the bar comes
// in full height while the bar slides away above it), the one going out where it was.
//
// The host asks, the skin does: each request is carried out on the StackView at once, and the
// StackView's busy goes back to the host, which finishes its screens' changes when it falls.
OTNavigationControllerTemplate {
    id: host

    stackViewBusy: stack.busy

    onPushRequested: (item, animated) => {
        if (animated)
            host.settleForSlide(item, stack.currentItem)
        else
            host.followBar(item)
        stack.push(item, {}, animated ? T.StackView.PushTransition : T.StackView.Immediate)
    }
    onPopRequested: (target, animated) => {
        if (animated)
            host.settleForSlide(target ? target : stack.get(stack.depth - 2, T.StackView.DontLoad), stack.currentItem)
        stack.pop(target, animated ? T.StackView.PopTransition : T.StackView.Immediate)
        host.followBarIfAtRest()
    }
    // A null target replaces every item of the stack.
    onReplaceRequested: items => {
        stack.replace(null, items, T.StackView.Immediate)
        host.followBarIfAtRest()
    }

    // A screen's whole width, set before its height: a screen laid out in one direction only
    // (a width of zero) would have nothing to lay its content out in.
    function fillWidth(item) {
        item.width = Qt.binding(() => stack.width)
    }
    // The screen's top is the bar's foot, wherever the bar is.
    function followBar(item) {
        if (!item)
            return
        host.fillWidth(item)
        item.y = Qt.binding(() => bar.y + bar.height)
        item.height = Qt.binding(() => host.height - item.y)
    }
    function followBarIfAtRest() {
        if (stack.busy)
            return
        for (let i = 0; i < stack.depth; ++i)
            host.followBar(stack.get(i, T.StackView.DontLoad))
    }
    // For a slide: the incoming screen where the bar will leave it (the host's flag is the new
    // screen's wish by now), the outgoing one where it is.
    function settleForSlide(incoming, outgoing) {
        if (outgoing) {
            const top = outgoing.y
            outgoing.y = top
            outgoing.height = Qt.binding(() => host.height - top)
        }
        if (incoming) {
            host.fillWidth(incoming)
            const top = host.navigationBarHidden ? 0 : bar.height
            incoming.y = top
            incoming.height = Qt.binding(() => host.height - top)
        }
    }

    Behavior on navigationBarHiddenProgress {
        enabled: host.navigationBarAnimated
        NumberAnimation { duration: OTPalette.navigationBarDuration; easing.type: Easing.InOutQuad }
    }

    T.StackView {
        id: stack
        objectName: "stackView"
        x: 0
        y: 0
        width: host.width
        height: host.height
        clip: true
        // Back at rest, every screen follows the bar again.
        onBusyChanged: host.followBarIfAtRest()

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
            font.pixelSize: OTPalette.navigationTitleFontSize
            font.weight: Font.DemiBold
            color: OTPalette.ostrelFontColorTitle
        }
    }
}
