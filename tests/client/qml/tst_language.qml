import QtQuick
import QtTest
import ReminderDesk

// The language switch retranslates the interface at once.
Item {
    width: 980
    height: 700

    DevicePane {
        id: devicePane
        anchors.fill: parent
        device: testDevice
        desk: testDesk
    }

    ClientTestCase {
        name: "Language"
        pane: devicePane

        function cleanup() {
            testDesk.setLanguage("en")
        }

        function test_switchToChinese() {
            startNew("call grandma", "Tomorrow morning")
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", 1)
            const row = rowAt(0)

            const title = named("titleLabel")
            compare(title.text, "Reminders")
            compare(findChild(row, "rowWhen").text, "Tomorrow 09:00")

            const box = named("languageBox")
            compare(box.currentText, "English")
            box.currentIndex = 1
            box.activated(1)
            compare(testDesk.language, "zh_CN")

            tryCompare(title, "text", "提醒")
            compare(named("deviceName").text, "设备 1")
            compare(named("countsLabel").text, "1 项待办  ·  0 项已完成")
            tryCompare(findChild(row, "rowWhen"), "text", "明天 09:00")
            compare(named("searchField").placeholderText, "搜索提醒")

            box.currentIndex = 0
            box.activated(0)
            tryCompare(title, "text", "Reminders")
        }
    }
}
