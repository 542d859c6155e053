import QtQuick 2.15
import QQuickSystemSet 1.0

BeepButton {
    property alias imgUrl: _image.source

    background: Rectangle {
        radius: 12
    }

    Image {
        id: _image
        anchors.verticalCenter: parent.verticalCenter
        x: width / 2 - 4
        height: 0.57 * parent.height
        width: height
    }

    Text {
        id: _text
        textFormat: Text.PlainText
        text: parent.text
        font.pixelSize: 0.357 * parent.height
        x: _image.width * 1.875 - 4
        anchors.verticalCenter: parent.verticalCenter
    }
}
