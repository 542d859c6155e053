import QtQuick 2.15
import QtQuick.Controls 2.15

// The stock combo box inside QSP::ComboBox; the rows (ComboBoxRow.qml) refer to it by its id.
ComboBox {
    id: _com

    property int fontPixelSize: 20

    font.pixelSize: fontPixelSize

    // Declared here, so that the stock indicator (and the image it reads from a file) is never made;
    // QSP::ComboBox places and sizes it.
    indicator: Image {
        source: "image://qspicon/down_arrow"
    }
}
