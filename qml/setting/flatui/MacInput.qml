import QtQuick 2.15
import QQuickSystemSet 1.0

// A hardware address as six hexadecimal pairs; the logic is in CMacInput.
CMacInput {
    id: _macRoot

    property alias input: _input

    implicitWidth: _input.implicitWidth + 16
    implicitHeight: _input.implicitHeight + 8

    Rectangle {
        anchors.fill: parent
        visible: _input.enabled
        radius: 4
        border.width: 1
        border.color: _input.activeFocus ? Palette.focus : Palette.fieldBorder
    }

    TextInput {
        id: _input

        // The text when editing began, given back when the editing is cancelled or left unfinished.
        property string oldInputText

        // Sized by bindings rather than anchors: anchors are applied when the field is completed and would
        // lay its text out a second time.
        width: parent.width
        height: parent.height
        text: "00:00:00:00:00:00"
        horizontalAlignment: TextInput.AlignHCenter
        verticalAlignment: TextInput.AlignVCenter
        validator: RegExpValidator {
            regExp: /^(?:[0-9A-Fa-f]{2}[:-]){5}[0-9A-Fa-f]{2}$/
        }
        inputMask: "HH:HH:HH:HH:HH:HH"

        onActiveFocusChanged: {
            if (activeFocus) {
                oldInputText = text
                _macRoot.onClick()
            } else if (!acceptableInput) {
                // Left with missing digits: keep the last whole address.
                text = oldInputText
            }
        }

        Keys.onPressed: {
            // 0x100000 is the on-screen keyboard's hide key.
            if (event.key === Qt.Key_Escape || event.key === 0x100000) {
                text = oldInputText
                focus = false
                event.accepted = true
            } else if (event.key === Qt.Key_Enter || event.key === Qt.Key_Return) {
                // A whole address goes on to the field, which accepts it; an unfinished one is dropped.
                if (!acceptableInput) {
                    text = oldInputText
                    event.accepted = true
                }
                focus = false
            }
        }
    }
}
