import QtQuick
import QtTest
import ReminderDesk

// "Tomorrow" on a fired reminder that does not repeat makes it fire again
// at 09:00 tomorrow.
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
        name: "BannerTomorrow"
        pane: devicePane

        function fireOneOff(text, hour) {
            quickAdd(text)
            tryCompare(model, "count", 1)
            const id = rowAt(0).remindId
            const due = support.at(2031, 6, 2, hour, 0)
            handler.modifyRemindTime(id, due)
            tryVerify(() => support.storedRemindTime(id) === due, 10000)
            support.setTime(due + 30 * 1000)
            handler.readyReminder()
            tryCompare(named("bannerStack"), "count", 1)
            return id
        }

        function test_tomorrowOnAOneOffReminderFiresItTomorrowMorning() {
            const id = fireOneOff("call the garage", 14)
            click(findChild(named("banner_" + id), "bannerTomorrow"))
            tryCompare(named("bannerStack"), "count", 0)
            const nine = support.at(2031, 6, 3, 9, 0)
            const item = testDevice.itemById(id)
            compare(item.remindTime, nine)
            verify(!item.reminded)
            tryVerify(() => support.storedRemindTime(id) === nine, 10000)
            support.setTime(nine + 1000)
            handler.readyReminder()
            tryCompare(named("bannerStack"), "count", 1)
        }
    }
}
