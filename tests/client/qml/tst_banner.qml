import QtQuick
import QtTest
import ReminderDesk

// A reminder fires: its banner shows, and "Snooze 10 min" puts it off: the
// row says until when, and it fires again then.
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
        name: "Banner"
        pane: devicePane

        function test_snoozeFromBanner() {
            startNew("stretch your legs", "In an hour")
            const due = support.at(2031, 6, 2, 11, 0)
            compare(handler.reminderPattern.remindTime, due)
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", 1)
            const id = rowAt(0).remindId
            tryVerify(() => support.storedRemindTime(id) === due, 10000)

            const banners = named("bannerStack")
            compare(banners.count, 0)
            // The clock passes its time; the handler's timer rule fires it.
            support.setTime(due + 30 * 1000)
            handler.readyReminder()
            tryCompare(banners, "count", 1)
            const banner = named("banner_" + id)
            compare(findChild(banner, "bannerText").text, "stretch your legs")
            compare(testDevice.banners.length, 1)

            click(findChild(banner, "bannerSnooze"))
            tryCompare(banners, "count", 0)
            const item = testDevice.itemById(id)
            compare(item.remindTime, support.now() + 10 * 60 * 1000)
            // It does not repeat: it is given the new time and fires again.
            verify(!item.reminded)
            tryVerify(() => support.storedRemindTime(id) === support.now() + 10 * 60 * 1000, 10000)

            // The row says so at once, and ten minutes later it fires again.
            const row = rowOf(id)
            tryVerify(() => findChild(row, "rowWhen").text.indexOf(
                          testDevice.formatTime(support.now() + 10 * 60 * 1000)) >= 0)
            compare(findChild(row, "rowWhen").text,
                    qsTrId("desk_row_snoozed_until").arg(testDevice.formatTime(support.now() + 10 * 60 * 1000)))
            support.setTime(support.now() + 10 * 60 * 1000 + 1000)
            handler.readyReminder()
            tryCompare(banners, "count", 1)
        }
    }
}
