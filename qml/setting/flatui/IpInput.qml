import QtQuick 2.15
import QQuickSystemSet 1.0

// An IPv4 address as four numeric fields separated by dots; the logic is in CIpInput.
CIpInput {
    id: _ipInputRoot

    property alias ipi0: _ipInput0.input
    property alias ipi1: _ipInput1.input
    property alias ipi2: _ipInput2.input
    property alias ipi3: _ipInput3.input

    implicitWidth: _row.width
    implicitHeight: fontPixelSize * 2

    Row {
        id: _row

        height: parent.height
        spacing: 3

        IpInputRect {
            id: _ipInput0
        }
        Text {
            textFormat: Text.PlainText
            anchors.verticalCenter: parent.verticalCenter
            text: "·"
            font.pixelSize: fontPixelSize
        }
        IpInputRect {
            id: _ipInput1
        }
        Text {
            textFormat: Text.PlainText
            anchors.verticalCenter: parent.verticalCenter
            text: "·"
            font.pixelSize: fontPixelSize
        }
        IpInputRect {
            id: _ipInput2
        }
        Text {
            textFormat: Text.PlainText
            anchors.verticalCenter: parent.verticalCenter
            text: "·"
            font.pixelSize: fontPixelSize
        }
        IpInputRect {
            id: _ipInput3
        }
    }
}
