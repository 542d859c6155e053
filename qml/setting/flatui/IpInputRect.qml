import QtQuick 2.15
import QQuickSystemSet 1.0

// One number of an IPv4 address inside IpInput.qml: a framed numeric field. It takes fontPixelSize and
// _ipInputRoot from the IpInput document that holds it.
Item {
    property alias input: _input

    width: height * 1.528
    height: parent.height

    Rectangle {
        anchors.fill: parent
        visible: _input.enabled
        radius: 4
        border.width: 1
        border.color: _input.activeFocus ? Palette.focus : Palette.fieldBorder
    }

    TextInput {
        id: _input

        // The text when editing began, given back when the editing is cancelled.
        property string oldInputText: "0"

        // Sized by bindings rather than anchors: anchors are applied when the field is completed and would
        // lay its text out a second time.
        width: parent.width
        height: parent.height
        text: "0"
        font.pixelSize: fontPixelSize
        horizontalAlignment: TextInput.AlignHCenter
        verticalAlignment: TextInput.AlignVCenter
        // Empty, or 0 to 255 with at most one leading zero.
        validator: RegExpValidator {
            regExp: /^(0?(25[0-5]|2[0-4][0-9]|[01]?[0-9][0-9]?)?)$/
        }

        onActiveFocusChanged: {
            if (activeFocus) {
                oldInputText = text
                _ipInputRoot.onClick()
            } else if (text.length === 0) {
                text = "0"
            }
        }

        Keys.onPressed: {
            // 0x100000 is the on-screen keyboard's hide key.
            if (event.key === Qt.Key_Escape || event.key === 0x100000) {
                text = oldInputText
                focus = false
                event.accepted = true
            } else if (event.key === Qt.Key_Clear) {
                text = ""
                event.accepted = true
            } else if (event.key === Qt.Key_Enter || event.key === Qt.Key_Return) {
                focus = false
                event.accepted = true
            }
        }

        onEditingFinished: text = text.replace(/^0+/, '')
    }
}
