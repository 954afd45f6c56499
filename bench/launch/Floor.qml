import QtQuick

// The least a launch screen can be: one picture from a file and one sentence under it.
Item {
    id: root
    required property string sentence
    required property url picture

    property alias pictureItem: image
    property alias sentenceItem: text

    Image {
        id: image
        anchors.top: parent.top
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: text.top
        anchors.bottomMargin: 22
        fillMode: Image.PreserveAspectCrop
        clip: true
        source: root.picture
    }

    Text {
        id: text
        anchors.left: parent.left
        anchors.leftMargin: 26
        anchors.right: parent.right
        anchors.rightMargin: 26
        anchors.bottom: parent.bottom
        anchors.bottomMargin: 60
        wrapMode: Text.Wrap
        font.pixelSize: 16
        color: "#484848"
        text: root.sentence
    }
}
