import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

// A secondary action: text only, in the accent colour (or `tint`).
Button {
    id: button

    property color tint: Theme.accent

    flat: true
    font.pixelSize: Theme.fontBase
    font.capitalization: Font.MixedCase
    topInset: 0
    bottomInset: 0
    implicitHeight: 38
    leftPadding: 12
    rightPadding: 12

    contentItem: Label {
        text: button.text
        font: button.font
        color: button.enabled ? button.tint : Theme.faint
        horizontalAlignment: Text.AlignHCenter
        verticalAlignment: Text.AlignVCenter
        elide: Text.ElideRight
    }
    background: Rectangle {
        radius: 8
        color: button.down ? Theme.border : (button.hovered ? Theme.surfaceAlt : "transparent")
        // Where the keyboard is (Tab): an outline in the button's colour.
        border.width: button.visualFocus ? 2 : 0
        border.color: button.tint
    }
}
