import QtQuick 2.15
import QQuickSystemSet 1.0

// The adapter card: the default adapter and the ping test. Texts, model and actions come from CardNIC.
CardNIC {
    id: _cardNicRoot

    property alias titleText: titleText
    property alias networkText: networkText
    property alias pingTestText: pingTestText
    property alias testButtonText: testButtonText
    property alias combobox: combobox
    property alias testBeepButton: testBeepButton

    height: nicColumn.height

    Column {
        id: nicColumn

        spacing: 0
        width: parent.width
        bottomPadding: titleRowHeight * 0.15

        Item {
            id: titleRow

            width: parent.width
            height: titleRowHeight * 0.92

            Image {
                id: titleIcon

                anchors.bottom: parent.bottom
                anchors.bottomMargin: parent.height * 0.3
                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                width: titleRowHeight * 0.459
                height: width
                source: "image://qspicon/newdefault"
                sourceSize: Qt.size(40, 40)
            }

            Text {
                id: titleText
                textFormat: Text.PlainText

                anchors.verticalCenter: titleIcon.verticalCenter
                anchors.left: titleIcon.right
                anchors.leftMargin: titleIcon.width / 3
                font.pixelSize: titleRowHeight * 0.383
                color: Palette.mutedText
            }
        }

        Item {
            id: nic1Row

            objectName: "nic1Row"
            width: parent.width
            height: titleRowHeight * 0.92

            Text {
                id: networkText
                textFormat: Text.PlainText

                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                anchors.verticalCenter: parent.verticalCenter
                font.pixelSize: titleText.font.pixelSize
                color: Palette.text
            }

            ComboBox {
                id: combobox

                anchors.right: parent.right
                anchors.rightMargin: titleRowHeight / 2
                anchors.verticalCenter: parent.verticalCenter
                width: titleRowHeight * 3.061
                height: titleRowHeight * 0.612
                fontPixelSize: titleRowHeight * 0.383
            }
        }

        Item {
            id: nic2Row

            objectName: "nic2Row"
            width: parent.width
            height: titleRowHeight * 0.92

            Text {
                id: pingTestText
                textFormat: Text.PlainText

                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                anchors.verticalCenter: parent.verticalCenter
                font.pixelSize: titleText.font.pixelSize
                color: Palette.text
            }

            BeepButton {
                id: testBeepButton

                objectName: "testButton"
                x: combobox.x - 0.8 * titleText.font.pixelSize
                height: parent.height
                width: height * 1.5

                Text {
                    id: testButtonText
                    textFormat: Text.PlainText

                    anchors.centerIn: parent
                    font.pixelSize: titleText.font.pixelSize
                    color: Palette.focus
                }
            }
        }
    }
}
