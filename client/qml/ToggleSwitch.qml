import QtQuick
import QtQuick.Controls

// An on/off switch.
Switch {
    id: toggle

    indicator: Rectangle {
        x: toggle.leftPadding
        y: (toggle.height - height) / 2
        implicitWidth: 44
        implicitHeight: 24
        radius: 12
        color: toggle.checked ? Theme.accent : "#c9d0dc"
        Rectangle {
            x: toggle.checked ? parent.width - width - 3 : 3
            y: 3
            width: 18
            height: 18
            radius: 9
            color: "white"
            Behavior on x { NumberAnimation { duration: 120 } }
        }
    }
}
