import QtQuick 2.15
import QQuickSystemSet 1.0

// The Network card: the title, one button per adapter in the flow, and below them the rows of the selected
// adapter, which the card adds to the column itself.
CardNetwork {
    id: _cardNroot

    property alias layout: _column
    property alias nicButtonFlow: _flow
    property alias titleText: _titleText

    height: _column.height

    Column {
        id: _column

        x: 0
        width: parent.width
        bottomPadding: rowHeight * 0.25

        Item {
            width: parent.width
            height: rowHeight * 0.6

            Image {
                id: titleIcon

                anchors.bottom: parent.bottom
                anchors.left: parent.left
                anchors.leftMargin: _titleText.font.pixelSize
                width: 0.4 * rowHeight
                height: width
                source: "image://qspicon/newnetwork1"
                sourceSize: Qt.size(40, 40)
            }

            Text {
                id: _titleText
                textFormat: Text.PlainText

                anchors.bottom: parent.bottom
                anchors.left: titleIcon.right
                anchors.leftMargin: titleIcon.width / 3
                font.pixelSize: fontPixelSize
                color: Palette.mutedText
            }
        }

        Item {
            width: parent.width
            height: _flow.height + 12

            Flow {
                id: _flow

                y: 10
                x: fontPixelSize
                width: parent.width - x
                spacing: 15
            }
        }
    }
}
