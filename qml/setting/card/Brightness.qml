import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import QQuickSystemSet 1.0
import "../flatui" as FlatUI

CardBrightness {
    id: _cardBrightRoot

    property alias titleText: titleText

    height: brightnessColumn.height

    Column {
        id: brightnessColumn

        spacing: _cardBrightRoot.brightnessTitleRowHeight * 0.03
        width: parent.width
        anchors.horizontalCenter: parent.horizontalCenter

        Item {
            id: titleRow

            width: parent.width
            height: _cardBrightRoot.brightnessTitleRowHeight

            Image {
                id: titleIcon

                anchors.bottom: parent.bottom
                anchors.bottomMargin: parent.height * 0.3
                anchors.left: parent.left
                anchors.leftMargin: titleText.font.pixelSize
                source: "image://qspicon/newbright"
                sourceSize: Qt.size(40, 40)
                width: _cardBrightRoot.brightnessTitleRowHeight * 0.459
                height: width
            }

            Text {
                id: titleText
                textFormat: Text.PlainText

                anchors.verticalCenter: titleIcon.verticalCenter
                anchors.left: titleIcon.right
                anchors.leftMargin: titleIcon.width / 3
                text: ""
                font.pixelSize: _cardBrightRoot.brightnessTitleRowHeight * 0.383
                color: Palette.mutedText
            }
        }

        Item {
            id: brightnessContentRow

            width: parent.width
            height: _cardBrightRoot.brightnessTitleRowHeight * 1.3

            Row {
                id: brightnessRow

                anchors.fill: parent
                anchors.leftMargin: titleText.font.pixelSize
                anchors.rightMargin: titleText.font.pixelSize
                spacing: _cardBrightRoot.brightnessTitleRowHeight * 0.03

                FlatUI.BrightControlButton {
                    id: minusButton

                    anchors.verticalCenter: parent.verticalCenter
                    buttonSize: Math.round(_cardBrightRoot.brightnessTitleRowHeight * 0.55)
                    isIncrement: false
                    autoRepeat: true
                    onPressed: _cardBrightRoot.setBrightnessValue(_cardBrightRoot.brightnessValue - 1)
                    onPressedChanged: {
                        if (!pressed)
                            _cardBrightRoot.saveBrightness()
                    }
                    onCanceled: _cardBrightRoot.saveBrightness()
                }

                Item {
                    id: sliderContainer

                    width: Math.round(parent.width - minusButton.width - valueContainer.width
                                      - plusButton.width - parent.spacing * 3)
                    height: parent.height

                    T.Slider {
                        id: brightNessSlider

                        anchors.fill: parent
                        padding: 6
                        from: 1
                        to: 32
                        stepSize: 1
                        value: _cardBrightRoot.brightnessValue

                        background: Rectangle {
                            anchors.centerIn: parent
                            height: Math.round(_cardBrightRoot.brightnessTitleRowHeight * 0.18)
                            width: Math.round(brightNessSlider.width - _cardBrightRoot.brightnessTitleRowHeight * 0.25)
                            radius: height

                            Row {
                                anchors.fill: parent

                                Rectangle {
                                    id: actived

                                    width: Math.round(parent.width * (brightNessSlider.value / 32))
                                    height: parent.height
                                    radius: height
                                    color: Palette.accent
                                }

                                Rectangle {
                                    width: parent.width - actived.width
                                    height: parent.height
                                    radius: height
                                    color: Palette.inactive
                                }
                            }
                        }

                        handle: Rectangle {
                            x: Math.round(brightNessSlider.leftPadding + brightNessSlider.visualPosition
                                          * (brightNessSlider.availableWidth - width))
                            y: Math.round(brightNessSlider.topPadding + brightNessSlider.availableHeight / 2
                                          - height / 2)
                            implicitWidth: Math.round(_cardBrightRoot.brightnessTitleRowHeight * 0.55)
                            implicitHeight: Math.round(_cardBrightRoot.brightnessTitleRowHeight * 0.55)
                            radius: Math.round(implicitWidth / 2)
                            color: "#FFFFFF"
                            border.color: "#d0d0d0"
                        }

                        onValueChanged: _cardBrightRoot.brightnessValue = value
                        onPressedChanged: {
                            if (pressed)
                                _cardBrightRoot.beepIfOn()
                            else
                                _cardBrightRoot.saveBrightness()
                        }
                    }
                }

                Rectangle {
                    id: valueContainer

                    anchors.verticalCenter: parent.verticalCenter
                    width: Math.round(_cardBrightRoot.brightnessTitleRowHeight * 0.5)
                    height: width
                    color: "transparent"
                    border.width: 0

                    Text {
                        id: sliderValue
                        textFormat: Text.PlainText

                        anchors.fill: parent
                        horizontalAlignment: Text.AlignHCenter
                        verticalAlignment: Text.AlignVCenter
                        font.bold: true
                        color: Palette.accent
                        font.pixelSize: _cardBrightRoot.brightnessTitleRowHeight * 0.35
                        text: _cardBrightRoot.brightnessValue.toString()
                    }
                }

                FlatUI.BrightControlButton {
                    id: plusButton

                    anchors.verticalCenter: parent.verticalCenter
                    buttonSize: Math.round(_cardBrightRoot.brightnessTitleRowHeight * 0.55)
                    isIncrement: true
                    autoRepeat: true
                    onPressed: _cardBrightRoot.setBrightnessValue(_cardBrightRoot.brightnessValue + 1)
                    onPressedChanged: {
                        if (!pressed)
                            _cardBrightRoot.saveBrightness()
                    }
                    onCanceled: _cardBrightRoot.saveBrightness()
                }
            }
        }
    }
}
