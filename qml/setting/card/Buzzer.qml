import QtQuick 2.15
import QQuickSystemSet 1.0

CardBuzzer {
    id: _cardBuzzerRoot

    property alias titleText: titleText
    property alias buzzerLabel: buzzerLabel

    height: buzzerColumn.height

    Column {
        id: buzzerColumn

        spacing: _cardBuzzerRoot.buzzerTitleRowHeight * 0.03
        width: parent.width

        Item {
            id: titleRow

            width: parent.width
            height: _cardBuzzerRoot.buzzerTitleRowHeight

            Image {
                id: titleIcon

                anchors.bottom: parent.bottom
                anchors.bottomMargin: parent.height * 0.3
                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                source: "image://qspicon/newbuzzer"
                width: _cardBuzzerRoot.buzzerTitleRowHeight * 0.459
                height: titleIcon.width
            }

            Text {
                id: titleText
                textFormat: Text.PlainText

                anchors.verticalCenter: titleIcon.verticalCenter
                anchors.left: titleIcon.right
                anchors.leftMargin: titleIcon.width / 3
                text: ""
                font.pixelSize: _cardBuzzerRoot.buzzerTitleRowHeight * 0.383
                color: Palette.mutedText
            }
        }

        Item {
            id: buzzerRow

            width: parent.width
            height: _cardBuzzerRoot.buzzerTitleRowHeight * 1.3

            Text {
                id: buzzerLabel
                textFormat: Text.PlainText

                anchors.verticalCenter: parent.verticalCenter
                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                text: ""
                color: Palette.text
                font.pixelSize: _cardBuzzerRoot.buzzerTitleRowHeight * 0.35
                font.weight: Font.Medium
            }

            BeepSwitch {
                id: buzzerSwitch

                anchors.verticalCenter: parent.verticalCenter
                anchors.right: parent.right
                anchors.rightMargin: _cardBuzzerRoot.buzzerTitleRowHeight / 2
                width: _cardBuzzerRoot.buzzerTitleRowHeight * 1.2
                height: _cardBuzzerRoot.buzzerTitleRowHeight * 0.58
                on: _cardBuzzerRoot.buzzerOn
                onClicked: _cardBuzzerRoot.switchClicked()
            }
        }
    }
}
