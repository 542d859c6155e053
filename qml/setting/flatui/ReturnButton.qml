import QtQuick 2.15
import QQuickSystemSet 1.0

// The title bar's return arrow: back to the menu where pages replace it, or to the page before.
BeepButton {
    objectName: "returnButton"

    Image {
        anchors.centerIn: parent
        width: parent.width / 2
        height: parent.height / 2
        sourceSize: Qt.size(64, 64)
        source: "image://qspicon/leftArrow0@2x"
        fillMode: Image.PreserveAspectFit
    }
}
