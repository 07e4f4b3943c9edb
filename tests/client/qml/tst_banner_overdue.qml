import QtQuick
import QtTest
import ReminderDesk

// The row of a reminder that fires turns overdue in the same frame as its
// banner, without waiting for the clock's half-minute tick.
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
        name: "BannerOverdue"
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

        function test_rowTurnsOverdueWithItsBanner() {
            quickAdd("water the plants")
            tryCompare(model, "count", 1)
            const id = rowAt(0).remindId
            const due = support.at(2031, 6, 2, 13, 0)
            handler.modifyRemindTime(id, due)
            tryVerify(() => support.storedRemindTime(id) === due, 10000)
            compare(rowOf(id).overdue, false)
            // Time passes on its own (the half-minute tick has not come):
            // the banner and the overdue row come together.
            support.passTime(due + 1000)
            handler.readyReminder()
            tryCompare(named("bannerStack"), "count", 1)
            compare(rowOf(id).overdue, true)
            compare(findChild(rowOf(id), "rowWhen").text, qsTrId("desk_row_overdue").arg(rowOf(id).whenText))
        }
    }
}
