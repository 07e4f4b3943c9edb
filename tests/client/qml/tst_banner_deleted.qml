import QtQuick
import QtTest
import ReminderDesk

// The banner's answers for a reminder deleted meanwhile do nothing.
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
        name: "BannerDeleted"
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

        function test_answersOnAReminderDeletedMeanwhileDoNothing() {
            const id = fireOneOff("gone soon", 15)
            handler.deleteSelect(id)
            tryCompare(model, "count", 0)
            testDevice.answerSnooze(id, 10)
            testDevice.answerTomorrow(id)
            testDevice.answerClose(id)
            testDevice.answerDone(id)
            compare(model.count, 0)
            compare(named("bannerStack").count, 0)
        }
    }
}
