// What a Qt developer would write instead of the settings screen, for the instruction benchmark to compare
// with: a left menu and a page of three cards (brightness, buzzer, language) made of stock Controls 2 items.
// Made as a whole, it is what the screen's start and its page switches are compared with.
import QtQuick 2.15
import QtQuick.Controls 2.15

Rectangle {
    id: root

    property int page: 0

    width: 1024
    height: 600
    color: "#F4F5F5"

    Column {
        id: menu

        width: root.width * 0.2
        height: root.height

        Repeater {
            model: ["Settings", "Other"]

            delegate: Button {
                width: menu.width
                height: 64
                text: modelData
                onClicked: {
                    if (index === 0)
                        settingsPage.active = true;
                    root.page = index;
                }
            }
        }
    }

    Loader {
        id: settingsPage

        x: menu.width
        width: root.width - menu.width
        height: root.height
        active: true
        visible: root.page === 0

        sourceComponent: Flickable {
            contentHeight: cards.height + 32

            Column {
                id: cards

                x: 16
                y: 16
                width: parent.width - 32
                spacing: 16

                Rectangle {
                    width: cards.width
                    height: 120
                    radius: 8

                    Label {
                        x: 16
                        y: 12
                        text: "Brightness"
                        font.pixelSize: 20
                    }

                    Slider {
                        x: 16
                        y: 60
                        width: parent.width - 32
                        from: 1
                        to: 32
                        stepSize: 1
                        value: 20
                    }
                }

                Rectangle {
                    width: cards.width
                    height: 80
                    radius: 8

                    Label {
                        x: 16
                        anchors.verticalCenter: parent.verticalCenter
                        text: "Buzzer"
                        font.pixelSize: 20
                    }

                    Switch {
                        anchors.right: parent.right
                        anchors.rightMargin: 16
                        anchors.verticalCenter: parent.verticalCenter
                        checked: true
                    }
                }

                Rectangle {
                    width: cards.width
                    height: 80
                    radius: 8

                    Label {
                        x: 16
                        anchors.verticalCenter: parent.verticalCenter
                        text: "Language"
                        font.pixelSize: 20
                    }

                    ComboBox {
                        anchors.right: parent.right
                        anchors.rightMargin: 16
                        anchors.verticalCenter: parent.verticalCenter
                        width: 200
                        model: ["English", "简体中文"]
                    }
                }
            }
        }
    }
}
