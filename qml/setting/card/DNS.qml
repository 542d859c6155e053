import QtQuick 2.15
import QQuickSystemSet 1.0
import "../flatui" as F

// The DNS card: the two servers of the adapter selected on the Network card. Texts and logic come from
// CardDNS.
CardDNS {
    id: _cardDnsRoot

    property alias dns1Input: dns1Input
    property alias dns2Input: dns2Input
    property alias titleText: titleText
    property alias dns1Text: dns1Text
    property alias dns2Text: dns2Text

    height: dnsColumn.height

    Column {
        id: dnsColumn

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
                source: "image://qspicon/newdns"
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
            id: dns1Row

            objectName: "dns1Row"
            width: parent.width
            height: titleRowHeight * 0.92

            Text {
                id: dns1Text
                textFormat: Text.PlainText

                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                anchors.verticalCenter: parent.verticalCenter
                font.pixelSize: titleText.font.pixelSize
                color: Palette.text
            }

            F.IpInput {
                id: dns1Input

                anchors.right: parent.right
                anchors.rightMargin: titleRowHeight / 2 + titleRowHeight * 0.15
                anchors.verticalCenter: parent.verticalCenter
                width: titleRowHeight * 4.837
                height: titleRowHeight * 0.689
                fontPixelSize: titleText.font.pixelSize
            }
        }

        Item {
            id: dns2Row

            objectName: "dns2Row"
            width: parent.width
            height: titleRowHeight * 0.92

            Text {
                id: dns2Text
                textFormat: Text.PlainText

                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                anchors.verticalCenter: parent.verticalCenter
                font.pixelSize: titleText.font.pixelSize
                color: Palette.text
            }

            F.IpInput {
                id: dns2Input

                anchors.right: parent.right
                anchors.rightMargin: dns1Input.anchors.rightMargin
                anchors.verticalCenter: parent.verticalCenter
                width: dns1Input.width
                height: dns1Input.height
                fontPixelSize: dns1Input.fontPixelSize
            }
        }
    }
}
