import QtQuick
import QtQuick.Controls
import QtQuick.Controls.Material
import QtQuick.Layouts

// The window's top bar: title and device, search, selection, sync and
// the language switch.
Rectangle {
    id: header

    required property var pane
    property alias searchText: searchField.text
    function focusSearch() {
        searchField.forceActiveFocus(Qt.ShortcutFocusReason)
        searchField.selectAll()
    }

    implicitHeight: 60
    color: Theme.surface

    Rectangle {
        anchors.left: parent.left
        anchors.right: parent.right
        anchors.bottom: parent.bottom
        height: 1
        color: Theme.border
    }

    RowLayout {
        anchors.fill: parent
        anchors.leftMargin: 18
        anchors.rightMargin: 12
        spacing: 10

        Rectangle {
            implicitWidth: 32
            implicitHeight: 32
            radius: 8
            color: Theme.accent
            Icon {
                anchors.centerIn: parent
                name: "bell"
                color: "white"
                size: 20
            }
        }

        Label {
            objectName: "titleLabel"
            text: qsTrId("desk_app_title")
            font.pixelSize: Theme.fontTitle
            font.weight: Font.DemiBold
            color: Theme.text
        }

        Pill {
            objectName: "deviceName"
            text: qsTrId("desk_device_name").arg(header.pane.device.number)
            color: Theme.accentSoft
            textColor: Theme.accent
        }

        Item { Layout.fillWidth: true }

        TextField {
            id: searchField
            objectName: "searchField"
            ToolTip.visible: hovered && !activeFocus
            ToolTip.text: qsTrId("desk_search_tooltip")
            Layout.fillWidth: true
            Layout.minimumWidth: 120
            Layout.maximumWidth: 260
            Layout.preferredWidth: 240
            Layout.preferredHeight: 40
            topPadding: 8
            bottomPadding: 8
            leftPadding: 34
            rightPadding: clearSearch.visible ? 30 : 10
            placeholderText: qsTrId("desk_search_placeholder")
            font.pixelSize: Theme.fontBase
            selectByMouse: true
            background: Rectangle {
                radius: 20
                color: searchField.activeFocus ? Theme.surface : Theme.surfaceAlt
                border.color: searchField.activeFocus ? Theme.accent : Theme.border
                border.width: 1
            }
            onTextChanged: {
                if (text.length > 0)
                    header.pane.handler.search(text)
                else
                    header.pane.handler.resetSearch()
            }
            Icon {
                anchors.left: parent.left
                anchors.leftMargin: 11
                anchors.verticalCenter: parent.verticalCenter
                name: "search"
                size: 17
                color: Theme.subtle
            }
            ToolButton {
                id: clearSearch
                objectName: "clearSearchButton"
                anchors.right: parent.right
                anchors.verticalCenter: parent.verticalCenter
                width: 30
                height: 30
                visible: searchField.text.length > 0
                onClicked: searchField.clear()
                contentItem: Item {
                    Icon { anchors.centerIn: parent; name: "close"; size: 15; color: Theme.subtle }
                }
                background: Item {}
            }
        }

        ToolButton {
            objectName: "selectModeButton"
            checkable: true
            checked: header.pane.selecting
            onClicked: header.pane.setSelecting(checked)
            ToolTip.visible: hovered
            ToolTip.text: qsTrId("desk_select_tooltip")
            contentItem: RowLayout {
                spacing: 6
                Icon { name: "checklist"; size: 18; color: header.pane.selecting ? Theme.accent : Theme.text }
                Label {
                    text: qsTrId("desk_select")
                    color: header.pane.selecting ? Theme.accent : Theme.text
                    font.pixelSize: Theme.fontBase
                }
            }
        }

        ToolButton {
            objectName: "syncButton"
            enabled: !header.pane.device.listing
            onClicked: header.pane.device.syncNow()
            ToolTip.visible: hovered
            ToolTip.text: qsTrId("desk_sync_tooltip")
            contentItem: RowLayout {
                spacing: 6
                Item {
                    implicitWidth: 18
                    implicitHeight: 18
                    Icon {
                        anchors.centerIn: parent
                        name: "sync"
                        size: 18
                        RotationAnimator on rotation {
                            running: header.pane.device.listing
                            from: 0; to: 360; duration: 900; loops: Animation.Infinite
                        }
                    }
                }
                Label { text: qsTrId("desk_sync_now"); font.pixelSize: Theme.fontBase }
            }
        }

        DeskComboBox {
            id: languageBox
            objectName: "languageBox"
            Layout.preferredWidth: 128
            model: header.pane.desk.languages
            textRole: "name"
            valueRole: "code"
            font.pixelSize: Theme.fontBase
            currentIndex: header.pane.desk.languages.findIndex((l) => l.code === header.pane.desk.language)
            onActivated: (index) => header.pane.desk.setLanguage(valueAt(index))
        }
    }
}
