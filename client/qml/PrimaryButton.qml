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
        color: !button.enabled ? Theme.accentDisabled
                                : (button.down ? Theme.accentDown : (button.hovered ? Theme.accentHover : Theme.accent))
        // Where the keyboard is (Tab): a ring around the filled button.
        Rectangle {
            anchors.fill: parent
            anchors.margins: -3
            radius: 11
            color: "transparent"
            border.width: 2
            border.color: Theme.accent
            visible: button.visualFocus
        }
    }
}
