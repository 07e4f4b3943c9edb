import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// A date shown as a button that opens a month calendar.
Button {
    id: field

    required property var pane
    readonly property var device: pane.device
    // Any time on the chosen day (ms since the epoch).
    property real value: 0
    signal picked(real dayMs)

    flat: true
    font.pixelSize: Theme.fontBase
    leftPadding: 12
    rightPadding: 12
    contentItem: RowLayout {
        spacing: 8
        Icon { name: "calendar"; size: 18; color: Theme.accent }
        Label {
            text: { field.device.tick; return field.device.formatDay(field.value) }
            color: Theme.text
            font.pixelSize: Theme.fontBase
        }
    }
    background: Rectangle {
        implicitHeight: 40
        radius: 8
        color: field.hovered ? Theme.surfaceAlt : Theme.surface
        border.color: Theme.border
    }
    onClicked: calendar.open()

    Popup {
        id: calendar
        objectName: "calendarPopup"
        y: field.height + 4
        width: 300
        padding: 10
        modal: false
        focus: true
        // Kept inside the window: where there is no room below the field
        // the calendar opens above it.
        margins: 8

        property int year: 2000
        property int month: 0 // 0..11, as the calendar counts
        onAboutToShow: {
            year = field.device.yearOf(field.value)
            month = field.device.monthOf(field.value) - 1
        }

        background: Rectangle {
            radius: 12
            color: Theme.surface
            border.color: Theme.border
        }

        contentItem: ColumnLayout {
            spacing: 4
            RowLayout {
                Layout.fillWidth: true
                ToolButton {
                    objectName: "calendarPrevious"
                    contentItem: Item { Icon { anchors.centerIn: parent; name: "back"; size: 18 } }
                    onClicked: {
                        if (calendar.month === 0) { calendar.month = 11; calendar.year -= 1 }
                        else calendar.month -= 1
                    }
                }
                Label {
                    Layout.fillWidth: true
                    horizontalAlignment: Text.AlignHCenter
                    text: { field.device.tick; return field.device.monthTitle(calendar.year, calendar.month + 1) }
                    font.pixelSize: Theme.fontLarge
                    font.weight: Font.DemiBold
                }
                ToolButton {
                    objectName: "calendarNext"
                    contentItem: Item { Icon { anchors.centerIn: parent; name: "chevronRight"; size: 18 } }
                    onClicked: {
                        if (calendar.month === 11) { calendar.month = 0; calendar.year += 1 }
                        else calendar.month += 1
                    }
                }
            }
            DayOfWeekRow {
                Layout.fillWidth: true
                locale: grid.locale
                delegate: Label {
                    required property string shortName
                    text: shortName
                    horizontalAlignment: Text.AlignHCenter
                    color: Theme.subtle
                    font.pixelSize: Theme.fontSmall
                }
            }
            MonthGrid {
                id: grid
                Layout.fillWidth: true
                month: calendar.month
                year: calendar.year
                locale: Qt.locale(field.pane.desk.language)
                delegate: Item {
                    id: cell
                    required property var model
                    // calendarDay_<month 1..12>_<day>, for days of the month shown.
                    objectName: inMonth ? "calendarDay_" + (model.month + 1) + "_" + model.day : ""
                    readonly property bool inMonth: model.month === grid.month
                    readonly property bool chosen: field.value > 0 && inMonth
                        && field.device.sameDay(field.device.dateAt(model.year, model.month + 1, model.day), field.value)
                    implicitWidth: 36
                    implicitHeight: 34
                    Rectangle {
                        anchors.centerIn: parent
                        width: 32
                        height: 32
                        radius: 16
                        color: cell.chosen ? Theme.accent : (cellMouse.containsMouse ? Theme.accentSoft : "transparent")
                        border.color: cell.model.today && !cell.chosen ? Theme.accent : "transparent"
                    }
                    Label {
                        anchors.centerIn: parent
                        text: cell.model.day
                        color: cell.chosen ? "white" : (cell.inMonth ? Theme.text : Theme.faint)
                        font.pixelSize: Theme.fontBase
                    }
                    MouseArea {
                        id: cellMouse
                        anchors.fill: parent
                        hoverEnabled: true
                        onClicked: {
                            field.picked(field.device.dateAt(cell.model.year, cell.model.month + 1, cell.model.day))
                            calendar.close()
                        }
                    }
                }
            }
        }
    }
}
