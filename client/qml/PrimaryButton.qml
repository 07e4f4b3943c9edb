import QtQuick
import QtQuick.Controls

// The main action of a screen: a filled accent button.
Button {
    id: button

    font.pixelSize: Theme.fontBase
    font.capitalization: Font.MixedCase
    leftPadding: 18
    rightPadding: 18
    topInset: 0
    bottomInset: 0
    implicitHeight: 38

    contentItem: Label {
        text: button.text
        font: button.font
        color: "white"
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: 8
        color: !button.enabled ? "#b9c6e4" : (button.down ? "#2f5cb8" : (button.hovered ? "#3565c8" : Theme.accent))
    }
}
