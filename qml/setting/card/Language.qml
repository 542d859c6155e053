import QtQuick 2.15
import QQuickSystemSet 1.0

CardLanguage {
    id: languageCard

    height: _background.height

    Rectangle {
        id: _background
        width: parent.width
        height: _column.height
        radius: 8
        color: "#FFFFFF"

        Column {
            id: _column
            width: parent.width
            spacing: 0

            Repeater {
                model: languageCard.languageModel

                delegate: Item {
                    id: _row

                    readonly property bool current: model.isCurrent

                    width: _column.width
                    height: _button.height

                    BeepButton {
                        id: _button

                        readonly property bool isFirst: index === 0
                        readonly property bool isLast: index === languageCard.languageModel.rowCount() - 1

                        width: parent.width
                        height: languageCard.languageTitleRowHeight * 1.1
                        text: model.text

                        background: Rectangle {
                            radius: 8
                            color: "#FFFFFF"

                            // Square off the inner corners: only the list's outer corners are rounded.
                            Rectangle {
                                visible: !_button.isFirst
                                anchors.top: parent.top
                                width: parent.width
                                height: parent.radius
                                color: "#FFFFFF"
                            }
                            Rectangle {
                                visible: !_button.isLast
                                anchors.bottom: parent.bottom
                                width: parent.width
                                height: parent.radius
                                color: "#FFFFFF"
                            }
                            Rectangle {
                                anchors.fill: parent
                                anchors.margins: 8
                                radius: 6
                                color: Palette.highlight
                                visible: _button.pressed || _row.current
                            }
                        }

                        Image {
                            id: _tick
                            visible: _row.current
                            anchors.left: parent.left
                            anchors.leftMargin: 16
                            anchors.verticalCenter: parent.verticalCenter
                            width: languageCard.languageTitleRowHeight * 0.3
                            height: width
                            sourceSize.width: width
                            sourceSize.height: height
                            source: "image://qspicon/newtickgreen"
                        }

                        Text {
                            textFormat: Text.PlainText
                            anchors.left: parent.left
                            anchors.leftMargin: 16 + _tick.width + 12
                            anchors.verticalCenter: parent.verticalCenter
                            text: _button.text
                            font.pixelSize: languageCard.languageTitleRowHeight * 0.31
                            font.weight: Font.Medium
                            color: "#4E5969"
                            horizontalAlignment: Text.AlignLeft
                        }

                        onClicked: {
                            if (!_row.current)
                                languageCard.languageModel.setCurrentLanguage(index)
                        }
                    }
                }
            }
        }
    }
}
