import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import QQuickSystemSet 1.0
import "flatui" as F

AppRootItem {
    id: _app

    property alias titleBar: _title
    property alias titleText: _titleText
    property alias menuBar: _menu
    property alias cardsParent: _cardLayout
    property alias cardPool: _cardPool
    property alias settingsText: _settingsText

    // Portrait and narrower than 800 pixels: the menu fills the screen and pages replace it.
    readonly property bool narrowPortrait: width < height && width < 800

    Item {
        id: _title
        width: parent.width

        Rectangle {
            id: _settingsArea
            width: _menu.visible ? _menu.width : 0
            height: parent.height
            color: "#FFFFFF"

            Text {
                id: _settingsText
                textFormat: Text.PlainText
                anchors.centerIn: parent
                text: "Setting"
                font.family: "1"
                font.pixelSize: _title.height / 3
                color: "#2C2E30"
            }
        }

        Rectangle {
            x: _settingsArea.width
            width: parent.width - x
            height: parent.height
            color: _app.narrowPortrait ? "#FFFFFF" : Palette.background
        }

        Text {
            id: _titleText
            textFormat: Text.PlainText
            anchors.verticalCenter: parent.verticalCenter
            font.family: "1"
            font.pixelSize: _title.height / 3
        }
    }

    Rectangle {
        id: _menu

        property alias column: _menuColumn
        property alias bottomContainer: _bottomContainer

        y: _title.height
        height: parent.height - _title.height

        Column {
            id: _menuColumn
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.top: parent.top
            anchors.topMargin: 12
            spacing: 12
        }

        Item {
            id: _bottomContainer
            anchors.left: parent.left
            anchors.right: parent.right
            anchors.bottom: parent.bottom
            anchors.bottomMargin: 16
            height: 54
        }
    }

    Flickable {
        id: _cardPool

        readonly property bool narrow: _app.narrowPortrait && !_menu.visible

        clip: true
        contentHeight: _cardLayout.height
        x: _menu.visible ? _menu.width + 20 : (narrow ? 12 : 40)
        y: _title.height + (_app.narrowPortrait ? 12 : 0)
        width: Math.max(0, _menu.visible ? parent.width - _menu.width - 40
                                         : (narrow ? parent.width - 24 : parent.width - 80))
        height: Math.max(0, parent.height - _title.height - (_app.narrowPortrait ? 12 : 0))

        // A template with its bar drawn here: the stock style's document would be compiled at start.
        T.ScrollBar.vertical: T.ScrollBar {
            id: _scrollBar

            parent: _cardPool.parent
            width: 12
            anchors.top: _cardPool.top
            anchors.bottom: _cardPool.bottom
            anchors.right: parent.right
            anchors.rightMargin: 4
            padding: 2
            minimumSize: width / height

            contentItem: Rectangle {
                id: _scrollHandle

                readonly property bool shown: _scrollBar.policy === T.ScrollBar.AlwaysOn
                                              || (_scrollBar.active && _scrollBar.size < 1.0)

                implicitWidth: 6
                implicitHeight: 6
                radius: width / 2
                color: _scrollBar.pressed ? _scrollBar.palette.dark : _scrollBar.palette.mid
                opacity: 0.0
                // Out of the scene while faded out, so that a page switch that changes its size does not
                // repaint its strip.
                visible: opacity > 0

                // Shown at once while scrolling, faded out a little after the scrolling ends.
                onShownChanged: {
                    if (shown) {
                        _fadeOut.stop()
                        opacity = 0.75
                    } else {
                        _fadeOut.restart()
                    }
                }

                SequentialAnimation {
                    id: _fadeOut

                    PauseAnimation { duration: 450 }
                    NumberAnimation { target: _scrollHandle; property: "opacity"; to: 0.0; duration: 200 }
                }
            }
        }

        Column {
            id: _cardLayout
            width: _cardPool.width
            spacing: 12
        }
    }
}
