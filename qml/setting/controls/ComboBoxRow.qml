import QtQuick 2.15
import QtQuick.Controls 2.15

// A row of QSP::ComboBox's list. It is made in the combo box's own context, where _com is the combo box.
ItemDelegate {
    width: _com.width
    height: _com.height

    Rectangle {
        anchors.fill: parent
        color: (model.index === _com.currentIndex) ? "#A8CDF1" : "#FFFFFF"

        Text {
            textFormat: Text.PlainText
            x: 10
            anchors.verticalCenter: parent.verticalCenter
            text: modelData.name
            font.pixelSize: _com.fontPixelSize
        }
    }
}
