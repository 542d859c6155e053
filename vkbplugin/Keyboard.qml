import QtQuick 2.15
import QtQuick.Templates 2.15 as T
import QtQuick.VirtualKeyboard 2.15
import QtQuick.VirtualKeyboard.Settings 2.15

// The on-screen keyboard: Qt Virtual Keyboard's input panel in a popup, along the bottom edge of the window
// until it is placed elsewhere. It never takes the focus: the keys type into the field that has it.
T.Popup {
    id: _popup

    property alias inputPanel: _panel
    // Where the popup was placed; until then it follows the bottom edge of its window.
    property bool placed: false
    property point place

    // The input panel went away by itself (its hide key, or the focus left every text field).
    signal panelDeactivated

    x: placed ? place.x : (parent ? (parent.width - width) / 2 : 0)
    y: placed ? place.y : (parent ? parent.height - height : 0)
    // The keys keep the proportions of Qt Virtual Keyboard's style (2560 x 800): as wide as the window, but in
    // landscape no higher than 40 % of it, so that what sits in the middle of the screen stays above them.
    width: parent ? Math.min(parent.width, parent.height * 0.4 * 2560 / 800) : 0
    height: _panel.height
    padding: 0
    modal: false
    dim: false
    focus: false
    closePolicy: T.Popup.NoAutoClose

    // Addresses, dates and passwords need Latin letters and digits only: one language, no language key.
    Component.onCompleted: {
        VirtualKeyboardSettings.locale = "en_GB"
        VirtualKeyboardSettings.activeLocales = ["en_GB"]
    }

    // The panel keeps the height it derives from its width; a content item would be given the popup's.
    contentItem: Item {
        id: _holder

        InputPanel {
            id: _panel

            width: _holder.width
            onActiveChanged: {
                if (!active)
                    _popup.panelDeactivated()
            }
            // Qt Virtual Keyboard moves its panel to the top of the focused field's window whenever another
            // field takes the focus, out of the popup and away from the bottom edge: it stays here.
            onParentChanged: {
                if (parent !== _holder)
                    parent = _holder
            }
        }
    }
}
