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

    // The separators: small squares, drawn with a touch of transparency. A text per dot costs several
    // times more to draw, and an opaque item would cut the card's background under it into pieces that
    // the software renderer fills one by one.
    component Dot: Rectangle {
        anchors.verticalCenter: parent.verticalCenter
        width: Math.max(2, Math.round(fontPixelSize / 7))
        height: width
        color: "#E6000000"
    }

    Row {
        id: _row

        height: parent.height
        spacing: 3

        IpInputRect {
            id: _ipInput0
        }
        Dot {}
        IpInputRect {
            id: _ipInput1
        }
        Dot {}
        IpInputRect {
            id: _ipInput2
        }
        Dot {}
        IpInputRect {
            id: _ipInput3
        }
    }
}
