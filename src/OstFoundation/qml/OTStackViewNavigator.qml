import QtQuick
import QtQuick.Templates as T
import OstFoundation

/*!
    \qmltype OTStackViewNavigator
    \inqmlmodule OstFoundation
    \inherits OTStackViewRequests
    \brief Carries out a screen's requests on a host app's StackView.

    A screen that stands on a StackView of the host's own (not a navigation host's) makes one to
    push a screen or pop itself: the pushes and pops go to the StackView's own calls, animated
    with its push and pop transitions or at once.

    \qmlproperty StackView OTStackViewNavigator::view
    \readonly

    The StackView the requests are carried out on.
*/
// Carries out a screen's requests on a host app's StackView.
OTStackViewRequests {
    id: requests

    readonly property T.StackView view: requests.stackView as T.StackView

    onPushRequested: (item, animated) => {
        if (requests.view)
            requests.view.push(item, {}, animated ? T.StackView.PushTransition : T.StackView.Immediate)
    }
    onPopRequested: animated => {
        if (requests.view)
            requests.view.pop(animated ? T.StackView.PopTransition : T.StackView.Immediate)
    }
}
