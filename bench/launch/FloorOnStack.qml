import QtQuick
import QtQuick.Controls

// The floor as a Qt Quick app that navigates with a StackView shows it: the same sentence and
// picture, the first item of a StackView.
StackView {
    id: stack
    required property string sentence
    required property url picture

    property alias pictureItem: floor.pictureItem
    property alias sentenceItem: floor.sentenceItem

    initialItem: Floor {
        id: floor
        sentence: stack.sentence
        picture: stack.picture
    }
}
