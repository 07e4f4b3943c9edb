import QtQuick
import QtQuick.Controls

// A short message at the bottom of the window that goes away by itself.
Rectangle {
    id: toast
    objectName: "toast"

    property alias text: label.text

    function show(message) {
        label.text = message
        toast.opacity = 1
        hideTimer.restart()
    }

    width: Math.min(label.implicitWidth + 40, parent ? parent.width - 60 : 600)
    height: label.implicitHeight + 22
    radius: height / 2
    color: Theme.toast
    opacity: 0
    visible: opacity > 0

    Behavior on opacity { NumberAnimation { duration: 180 } }

    Label {
        id: label
        anchors.centerIn: parent
        width: Math.min(implicitWidth, toast.width - 40)
        wrapMode: Text.Wrap
        horizontalAlignment: Text.AlignHCenter
        color: "white"
        font.pixelSize: Theme.fontBase
    }

    Timer {
        id: hideTimer
        interval: 4000
        onTriggered: toast.opacity = 0
    }
}
