import QtQuick 2.15
import QQuickSystemSet 1.0

CardTime {
    id: _cardTimeRoot

    property alias titleText: titleText
    property alias dateLabel: dateLabel

    height: timeColumn.height

    Column {
        id: timeColumn

        width: parent.width
        anchors.horizontalCenter: parent.horizontalCenter
        spacing: _cardTimeRoot.timeTitleRowHeight * 0.03

        Item {
            id: titleRow

            width: parent.width
            height: _cardTimeRoot.timeTitleRowHeight

            Image {
                id: titleIcon

                anchors.bottom: parent.bottom
                anchors.bottomMargin: parent.height * 0.3
                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                source: "image://qspicon/newtime"
                sourceSize: Qt.size(40, 40)
                width: _cardTimeRoot.timeTitleRowHeight * 0.459
                height: width
            }

            Text {
                id: titleText
                textFormat: Text.PlainText

                anchors.verticalCenter: titleIcon.verticalCenter
                anchors.left: titleIcon.right
                anchors.leftMargin: titleIcon.width / 3
                text: ""
                font.pixelSize: _cardTimeRoot.timeTitleRowHeight * 0.383
                color: Palette.mutedText
            }
        }

        Item {
            id: timeContentRow

            width: parent.width
            height: _cardTimeRoot.timeTitleRowHeight * 1.3

            Row {
                id: timeRow

                anchors.fill: parent
                anchors.leftMargin: titleText.font.pixelSize
                anchors.rightMargin: titleText.font.pixelSize

                Text {
                    id: dateLabel
                    textFormat: Text.PlainText

                    width: parent.width * 0.4
                    height: parent.height
                    text: ""
                    font.pixelSize: _cardTimeRoot.timeTitleRowHeight * 0.35
                    font.weight: Font.Medium
                    color: Palette.text
                    verticalAlignment: Text.AlignVCenter
                }

                Text {
                    id: timeText
                    textFormat: Text.PlainText

                    width: parent.width * 0.6
                    height: parent.height
                    text: _cardTimeRoot.currentDateTime
                    font.pixelSize: _cardTimeRoot.timeTitleRowHeight * 0.35
                    font.weight: Font.Medium
                    color: Palette.accent
                    horizontalAlignment: Text.AlignRight
                    verticalAlignment: Text.AlignVCenter

                    BeepButton {
                        anchors.right: parent.right
                        anchors.verticalCenter: parent.verticalCenter
                        width: timeText.contentWidth
                        height: timeText.contentHeight
                        onClicked: _cardTimeRoot.openDialog()
                    }
                }
            }
        }
    }
}
