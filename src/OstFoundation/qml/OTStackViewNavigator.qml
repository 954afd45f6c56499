import QtQuick
import QtQuick.Templates as T
import OstFoundation

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
