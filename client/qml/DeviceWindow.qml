import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material

// One device's window.
ApplicationWindow {
    id: window

    required property var device
    required property var desk

    width: 980
    height: 700
    minimumWidth: 760
    minimumHeight: 560
    title: qsTrId("desk_window_title").arg(device.number)
    color: Theme.background

    Material.theme: Material.Light
    Material.accent: Theme.accent
    Material.primary: Theme.accent

    // Closing the window with an edit open asks what becomes of it.
    onClosing: (close) => {
        if (!pane.confirmClose(() => window.close()))
            close.accepted = false
    }

    DevicePane {
        id: pane
        anchors.fill: parent
        device: window.device
        desk: window.desk
    }
}
