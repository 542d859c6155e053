import QtQuick.Controls 2.15

// The stock combo box inside QSP::ComboBox; the rows (ComboBoxRow.qml) refer to it by its id.
ComboBox {
    id: _com

    property int fontPixelSize: 20

    font.pixelSize: fontPixelSize
}
