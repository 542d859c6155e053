import QtQuick 2.15
import QQuickSystemSet 1.0

// The Wi-Fi page: the connected network, then the networks found nearby. The card fills the captions,
// the connected row and the list of nearby networks from native code.
CardWifi {
    id: _cardWifiRoot

    property alias layout: _column
    property alias nearWlanTxt: _nearwlantxt
    property alias current: _current
    property alias scanButton: _scan
    property alias scaning: _scaning
    property alias connectedWlanText: _connectedWlanText
    property alias nearbyWlanText: _nearwlantxt
    property alias scanButtonImage: _scanImage

    Column {
        id: _column

        Item {
            width: parent.width
            height: rowHeight

            Text {
                id: _connectedWlanText
                textFormat: Text.PlainText
                text: ""
                font.pixelSize: fontSize
                color: Palette.mutedText
                anchors.verticalCenter: parent.verticalCenter
            }
        }

        Item {
            id: _current
            width: parent.width
            height: rowHeight
        }

        Item {
            width: parent.width
            height: rowHeight

            Rectangle {
                width: parent.width
                height: 1
                color: Palette.border
                anchors.verticalCenter: parent.verticalCenter
            }
        }

        Item {
            width: parent.width
            height: rowHeight

            Text {
                id: _nearwlantxt
                textFormat: Text.PlainText
                text: ""
                font.pixelSize: fontSize
                color: Palette.mutedText
                anchors.verticalCenter: parent.verticalCenter

                // Turns beside whichever text holds it: this caption while scanning, the password
                // dialog's message while connecting.
                Image {
                    id: _scaning
                    x: parent.width + 12
                    y: (parent.height - height) / 2
                    height: rowHeight * 0.722
                    width: height
                    source: "image://qspicon/loading@2x"
                    sourceSize: Qt.size(40, 40)

                    RotationAnimation on rotation {
                        from: 0
                        to: 360
                        duration: 2000
                        loops: Animation.Infinite
                        running: _scaning.visible
                    }
                }
            }

            Image {
                id: _scanImage
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                height: parent.height * 0.8
                width: height
                source: "image://qspicon/newrefresh"
                sourceSize: Qt.size(32, 32)

                BeepButton {
                    id: _scan
                    anchors.fill: parent
                    anchors.margins: -10
                }
            }
        }
    }
}
