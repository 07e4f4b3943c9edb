import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// Hours and minutes of a time.
RowLayout {
    id: field

    required property var device
    property real value: 0
    signal picked(real ms)

    spacing: 4

    function pad(v) { return (v < 10 ? "0" : "") + v }

    Icon { name: "clock"; size: 18; color: Theme.accent }
    SpinBox {
        id: hours
        objectName: "hourBox"
        from: 0
        to: 23
        editable: true
        wrap: true
        value: field.device.hourOf(field.value)
        textFromValue: (v) => field.pad(v)
        valueFromText: (t) => parseInt(t, 10)
        font.pixelSize: Theme.fontBase
        implicitWidth: 118
        onValueModified: field.picked(field.device.combine(field.value, hours.value, minutes.value))
    }
    Label { text: ":"; font.pixelSize: Theme.fontLarge; color: Theme.subtle }
    SpinBox {
        id: minutes
        objectName: "minuteBox"
        from: 0
        to: 59
        stepSize: 5
        editable: true
        wrap: true
        value: field.device.minuteOf(field.value)
        textFromValue: (v) => field.pad(v)
        valueFromText: (t) => parseInt(t, 10)
        font.pixelSize: Theme.fontBase
        implicitWidth: 118
        onValueModified: field.picked(field.device.combine(field.value, hours.value, minutes.value))
    }
}
