import QtQuick 2.15
import QQuickSystemSet 1.0

BeepButton {
    property alias txt: _text
    property alias fontSize: _text.font.pixelSize
    readonly property color whiteColor: "#FFFFFF"
    readonly property color blueColor: Palette.accent

    width: _text.width + 20

    background: Rectangle {
        radius: 4
        color: checked ? blueColor : whiteColor
        border.color: blueColor
        border.width: checked ? 0 : 1
    }

    Text {
        id: _text
        textFormat: Text.PlainText
        text: qsTr("Network 0")
        anchors.centerIn: parent
        color: checked ? whiteColor : blueColor
    }
}
