import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

// A drop-down list with a plain framed look.
ComboBox {
    id: box

    font.pixelSize: Theme.fontBase
    implicitHeight: 38
    topInset: 0
    bottomInset: 0

    background: Rectangle {
        radius: 8
        color: box.hovered ? Theme.surfaceAlt : Theme.surface
        border.color: box.activeFocus ? Theme.accent : Theme.border
    }

    popup.background: Rectangle {
        radius: 8
        color: Theme.surface
        border.color: Theme.border
    }
}
