import QtQuick 2.15
import QQuickSystemSet 1.0

BrightButton {
    id: root

    property bool isIncrement: true
    property int buttonSize: 0
    readonly property string iconSource: isIncrement ? "image://qspicon/newincrease"
                                                     : "image://qspicon/newdecrease"

    width: buttonSize
    height: buttonSize

    background: Image {
        source: root.iconSource
        anchors.fill: parent
        fillMode: Image.PreserveAspectFit
    }
}
