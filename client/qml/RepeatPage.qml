import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// The repeat page: the seven presets, a custom rule (every n days, weeks
// on chosen weekdays, or months in one of four ways), its end, and the
// snooze period. "Done" confirms it with the pattern's repeatFinish.
Page {
    id: page
    objectName: "repeatPage"

    required property var editor
    required property var pane
    readonly property var device: pane.device
    readonly property var pattern: pane.handler.reminderPattern
    readonly property bool custom: pattern.repeatFlag === 6
    readonly property bool repeating: pattern.repeatFlag !== 0
    // 0 days, 1 weeks, 2 months (the pattern's units 2 to 5).
    readonly property int unitChoice: pattern.unit >= 2 ? 2 : pattern.unit
    readonly property var snoozeChoices: [0, 5, 10, 15, 30, 60]

    background: Rectangle { color: "transparent" }

    header: RowLayout {
        spacing: 4
        ToolButton {
            objectName: "repeatBack"
            Layout.leftMargin: 10
            Layout.topMargin: 10
            contentItem: Item { Icon { anchors.centerIn: parent; name: "back"; size: 20 } }
            onClicked: page.editor.backToEditor()
        }
        Label {
            Layout.topMargin: 10
            Layout.fillWidth: true
            text: qsTrId("desk_repeat_title")
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            color: Theme.text
        }
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 16
        anchors.rightMargin: 20
        anchors.topMargin: 6
        spacing: 16

        // Presets.
        ColumnLayout {
            Layout.preferredWidth: Math.min(270, page.width * 0.42)
            Layout.maximumWidth: Math.min(270, page.width * 0.42)
            Layout.fillWidth: false
            Layout.fillHeight: true
            Layout.alignment: Qt.AlignTop
            spacing: 0
            Repeater {
                model: page.pattern.defaultRepeatModel
                delegate: RadioDelegate {
                    id: preset
                    required property var modelData
                    objectName: "preset_" + modelData.cmd
                    Layout.fillWidth: true
                    text: modelData.title
                    font.pixelSize: Theme.fontBase
                    // A long preset ("Every month on the 4th Tuesday")
                    // wraps instead of being cut off.
                    contentItem: Label {
                        objectName: "presetText"
                        rightPadding: preset.indicator ? preset.indicator.width + preset.spacing : 0
                        text: preset.text
                        font: preset.font
                        color: Theme.text
                        wrapMode: Text.Wrap
                        verticalAlignment: Text.AlignVCenter
                    }
                    checked: page.pattern.repeatFlag === modelData.cmd
                    topPadding: 9
                    bottomPadding: 9
                    onClicked: {
                        page.pattern.repeatFlag = modelData.cmd
                        // A custom rule starts from every 1 of its unit.
                        if (modelData.cmd === 6 && page.pattern.interval < 1)
                            page.pattern.interval = 1
                    }
                }
            }
            Item { Layout.fillHeight: true }
        }

        Rectangle { Layout.fillHeight: true; implicitWidth: 1; color: Theme.border }

        Flickable {
            id: flick
            Layout.fillWidth: true
            Layout.fillHeight: true
            contentHeight: details.implicitHeight + 16
            clip: true
            boundsBehavior: Flickable.StopAtBounds

            ColumnLayout {
                id: details
                width: flick.width
                spacing: 10

                // The custom rule.
                Label {
                    text: qsTrId("desk_repeat_custom_heading")
                    font.pixelSize: Theme.fontBase
                    font.weight: Font.DemiBold
                    color: page.custom ? Theme.text : Theme.faint
                    Layout.topMargin: 8
                }
                RowLayout {
                    enabled: page.custom
                    spacing: 8
                    Label { text: qsTrId("desk_repeat_every"); font.pixelSize: Theme.fontBase }
                    SpinBox {
                        objectName: "intervalBox"
                        from: 1
                        to: 99
                        editable: true
                        value: Math.max(1, page.pattern.interval)
                        font.pixelSize: Theme.fontBase
                        implicitWidth: 118
                        onValueModified: page.pattern.interval = value
                    }
                    DeskComboBox {
                        id: unitBox
                        objectName: "unitBox"
                        implicitWidth: 130
                        font.pixelSize: Theme.fontBase
                        model: [qsTrId("desk_unit_days"), qsTrId("desk_unit_weeks"), qsTrId("desk_unit_months")]
                        currentIndex: page.unitChoice
                        onActivated: (index) => {
                            if (index === 2)
                                page.pattern.unit = page.pattern.unit >= 2 ? page.pattern.unit : 2
                            else
                                page.pattern.unit = index
                        }
                    }
                }

                // Weekdays of a weekly rule.
                RowLayout {
                    visible: page.custom && page.pattern.unit === 1
                    spacing: 6
                    Repeater {
                        model: 7
                        delegate: Rectangle {
                            id: dayButton
                            required property int index
                            // From the language's first day of the week, as
                            // the date picker's calendar.
                            readonly property int day: { page.device.tick
                                return (page.device.firstDayOfWeek() - 1 + index) % 7 + 1 }
                            readonly property bool on: page.device.hasWeekday(page.pattern.dayOfWeekFlags, day)
                            objectName: "weekday_" + day
                            implicitWidth: 38
                            implicitHeight: 38
                            radius: 19
                            color: on ? Theme.accent : (dayMouse.containsMouse ? Theme.accentSoft : Theme.surfaceAlt)
                            border.color: on ? Theme.accent : Theme.border
                            Label {
                                anchors.centerIn: parent
                                text: { page.device.tick; return page.device.weekdayName(dayButton.day, true) }
                                color: dayButton.on ? "white" : Theme.text
                                font.pixelSize: Theme.fontSmall
                                font.weight: Font.DemiBold
                            }
                            MouseArea {
                                id: dayMouse
                                anchors.fill: parent
                                hoverEnabled: true
                                cursorShape: Qt.PointingHandCursor
                                onClicked: page.pattern.dayOfWeekFlags =
                                           page.device.toggledWeekday(page.pattern.dayOfWeekFlags, dayButton.day)
                            }
                        }
                    }
                }

                // The four ways of a monthly rule.
                ColumnLayout {
                    visible: page.custom && page.pattern.unit >= 2
                    spacing: 0
                    Repeater {
                        model: page.pattern.monthModel
                        delegate: RadioButton {
                            required property var modelData
                            objectName: "monthVariant_" + modelData.unit
                            text: modelData.text
                            font.pixelSize: Theme.fontBase
                            checked: page.pattern.unit === modelData.unit
                            onClicked: page.pattern.unit = modelData.unit
                        }
                    }
                }

                Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: Theme.border; Layout.topMargin: 4 }

                // The end of the series.
                Label {
                    text: qsTrId("desk_repeat_ends")
                    font.pixelSize: Theme.fontBase
                    font.weight: Font.DemiBold
                    color: page.repeating ? Theme.text : Theme.faint
                }
                ColumnLayout {
                    enabled: page.repeating
                    spacing: 0
                    RadioButton {
                        objectName: "endNever"
                        text: qsTrId("desk_repeat_end_never")
                        font.pixelSize: Theme.fontBase
                        checked: page.pattern.endDate <= 0 && page.pattern.repeatCount <= 0
                        onClicked: { page.pattern.endDate = 0; page.pattern.repeatCount = 0 }
                    }
                    RowLayout {
                        spacing: 6
                        RadioButton {
                            objectName: "endOnDate"
                            text: qsTrId("desk_repeat_end_on")
                            font.pixelSize: Theme.fontBase
                            checked: page.pattern.endDate > 0
                            onClicked: {
                                page.pattern.repeatCount = 0
                                page.pattern.endDate = page.device.monthLater(page.pattern.remindTime)
                            }
                        }
                        DateField {
                            visible: page.pattern.endDate > 0
                            pane: page.pane
                            value: page.pattern.endDate
                            onPicked: (dayMs) => page.pattern.endDate = dayMs
                        }
                    }
                    RowLayout {
                        spacing: 6
                        RadioButton {
                            objectName: "endAfterCount"
                            text: qsTrId("desk_repeat_end_after")
                            font.pixelSize: Theme.fontBase
                            checked: page.pattern.repeatCount > 0
                            onClicked: { page.pattern.endDate = 0; page.pattern.repeatCount = 10 }
                        }
                        SpinBox {
                            objectName: "repeatCountBox"
                            visible: page.pattern.repeatCount > 0
                            from: 1
                            to: 999
                            editable: true
                            value: Math.max(1, page.pattern.repeatCount)
                            implicitWidth: 118
                            font.pixelSize: Theme.fontBase
                            onValueModified: page.pattern.repeatCount = value
                        }
                        Label {
                            visible: page.pattern.repeatCount > 0
                            text: qsTrId("desk_repeat_times", page.pattern.repeatCount)
                            font.pixelSize: Theme.fontBase
                        }
                    }
                }

                Rectangle { Layout.fillWidth: true; implicitHeight: 1; color: Theme.border; Layout.topMargin: 4 }

                // Snooze.
                RowLayout {
                    spacing: 10
                    Icon { name: "snooze"; size: 18; color: Theme.accent }
                    Label {
                        text: qsTrId("desk_repeat_snooze")
                        font.pixelSize: Theme.fontBase
                        font.weight: Font.DemiBold
                    }
                    DeskComboBox {
                        objectName: "snoozeBox"
                        implicitWidth: 180
                        font.pixelSize: Theme.fontBase
                        model: page.snoozeChoices.map((m) => m === 0 ? qsTrId("desk_snooze_off")
                                                                     : qsTrId("desk_snooze_every", m))
                        currentIndex: Math.max(0, page.snoozeChoices.indexOf(page.pattern.snooze))
                        onActivated: (index) => page.pattern.snooze = page.snoozeChoices[index]
                    }
                }
            }
        }
    }

    footer: Rectangle {
        implicitHeight: 64
        color: Theme.surfaceAlt
        radius: 14
        Rectangle { anchors.top: parent.top; width: parent.width; height: 14; color: Theme.surfaceAlt }
        Rectangle { anchors.top: parent.top; width: parent.width; height: 1; color: Theme.border }
        RowLayout {
            anchors.fill: parent
            anchors.leftMargin: 22
            anchors.rightMargin: 16
            Label {
                Layout.fillWidth: true
                text: qsTrId("desk_repeat_hint")
                color: Theme.subtle
                font.pixelSize: Theme.fontSmall + 1
                elide: Text.ElideRight
            }
            PrimaryButton {
                objectName: "repeatDone"
                text: qsTrId("desk_done")
                font.pixelSize: Theme.fontBase
                onClicked: {
                    page.pattern.repeatFinish()
                    page.editor.backToEditor()
                }
            }
        }
    }
}
