import QtQuick 2.15
import QQuickSystemSet 1.0

CardVersion {
    id: _cardVersionRoot

    property alias titleText: titleText
    property alias serialNumberLabel: serialNumberLabel
    property alias qrCodeText: qrCodePlaceholder

    height: versionColumn.height

    Column {
        id: versionColumn
        width: parent.width
        spacing: versionTitleRowHeight * 0.08

        Item {
            id: titleRow
            width: parent.width
            height: versionTitleRowHeight

            Image {
                id: titleIcon
                source: "image://qspicon/newcloud"
                width: versionTitleRowHeight * 0.459
                height: width
                anchors.bottom: parent.bottom
                anchors.bottomMargin: parent.height * 0.3
                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                onStatusChanged: _cardVersionRoot.checkIconStatus(status)
            }

            Text {
                id: iconErrorText
                textFormat: Text.PlainText
                anchors.centerIn: titleIcon
                text: "!"
                color: "red"
                font.pixelSize: versionTitleRowHeight * 0.35
                font.bold: true
                visible: _cardVersionRoot.iconError
            }

            Text {
                id: titleText
                textFormat: Text.PlainText
                font.pixelSize: versionTitleRowHeight * 0.383
                color: Palette.mutedText
                anchors.verticalCenter: titleIcon.verticalCenter
                anchors.left: titleIcon.right
                anchors.leftMargin: titleIcon.width / 3
            }
        }

        Item {
            id: contentRow
            width: parent.width
            height: versionTitleRowHeight * 3.6

            Rectangle {
                id: barcodeContainer
                color: "transparent"
                anchors.top: parent.top
                anchors.topMargin: versionTitleRowHeight * 0.2
                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                width: versionTitleRowHeight * 3.1
                height: width

                Item {
                    anchors.fill: parent
                    anchors.margins: 1

                    Image {
                        id: qrCodeImage
                        anchors.centerIn: parent
                        width: parent.width
                        height: parent.height
                        source: _cardVersionRoot.qrCodeUrl
                        fillMode: Image.PreserveAspectFit
                        cache: false
                        asynchronous: true
                    }

                    Rectangle {
                        anchors.fill: qrCodeImage
                        color: "#f0f0f0"
                        visible: qrCodeImage.status !== Image.Ready

                        Text {
                            id: qrCodePlaceholder
                            textFormat: Text.PlainText
                            anchors.centerIn: parent
                            color: "#999999"
                            font.pixelSize: titleText.font.pixelSize * 0.8
                        }
                    }
                }

                Rectangle {
                    z: 2
                    anchors.fill: parent
                    color: "transparent"
                    border.width: 1
                    border.color: "#BFC6CD"
                    radius: 8
                }
            }

            Row {
                id: serialNumberRow
                anchors.left: barcodeContainer.right
                anchors.leftMargin: titleText.font.pixelSize
                anchors.bottom: barcodeContainer.bottom
                anchors.bottomMargin: versionTitleRowHeight * 0.1
                spacing: titleText.font.pixelSize / 2

                Text {
                    id: serialNumberLabel
                    textFormat: Text.PlainText
                    font.pixelSize: titleText.font.pixelSize * 0.9
                    color: Palette.text
                }

                Text {
                    id: serialNumberValue
                    textFormat: Text.PlainText
                    text: _cardVersionRoot.serialNumber
                    font.pixelSize: titleText.font.pixelSize * 0.9
                    color: Palette.text
                    // A long number wraps inside the card instead of running past its edge.
                    width: Math.max(font.pixelSize, contentRow.width - serialNumberRow.x
                                    - serialNumberLabel.width - 2 * serialNumberRow.spacing)
                    wrapMode: Text.WrapAtWordBoundaryOrAnywhere
                }
            }
        }
    }
}
