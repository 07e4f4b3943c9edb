import QtQuick
import QtQuick.Controls

// A small rounded label: counts, badges, the device's name.
Rectangle {
    id: pill

    property alias text: label.text
    property color textColor: Theme.subtle
    property alias font: label.font

    implicitWidth: label.implicitWidth + 16
    implicitHeight: 22
    radius: height / 2
    color: Theme.surfaceAlt

    Label {
        id: label
        anchors.centerIn: parent
        color: pill.textColor
        font.pixelSize: Theme.fontSmall
        font.weight: Font.DemiBold
    }
}
