import QtQuick
import QtTest
import ReminderDesk

// The window while the stored reminders load: it says so (no counts, no
// "No reminders yet"), keeps what is typed into quick add, adds it once
// when the load is in, and then shows the whole list.
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
        name: "Loading"
        pane: devicePane

        // Each case starts loaded, with an empty list and store.
        function init() {
            named("quickAddField").clear()
            if (!testDevice.loaded) {
                support.startLoad()
                tryCompare(testDevice, "loaded", true, 20000)
            }
            handler.selectAll(true)
            handler.deleteSelects()
            tryCompare(model, "count", 0)
            tryVerify(() => support.storedCount() === 0, 10000)
        }

        function loadingShown() {
            verify(!testDevice.loaded)
            verify(named("loadingState").visible, "the loading state is not shown")
            verify(!named("emptyState").visible, "an empty list is announced while loading")
            verify(!named("countsLabel").visible, "counts are shown while loading")
            compare(list.count, 0)
        }

        // Three stored reminders, one completed.
        function storeThree() {
            quickAdd("alpha")
            quickAdd("bravo")
            const done = quickAdd("charlie")
            click(findChild(rowOf(done), "completeToggle"))
            testDevice.undo.commit()
            tryCompare(model, "completedCount", 1)
            tryVerify(() => support.storedCount() === 3, 10000)
        }

        function test_enterWhileLoadingAddsOnceWhenLoaded_data() {
            return [
                { tag: "Enter once", presses: 1 },
                { tag: "Enter three times", presses: 3 },
                { tag: "the Add button", presses: 0 },
            ]
        }
        function test_enterWhileLoadingAddsOnceWhenLoaded(data) {
            storeThree()
            support.signInHeld()
            loadingShown()
            verify(!named("newButton").enabled)

            const field = named("quickAddField")
            field.forceActiveFocus()
            typeText("buy milk")
            if (data.presses === 0)
                click(named("addButton"))
            for (let i = 0; i < data.presses; ++i)
                keyClick(Qt.Key_Return)
            // Kept, and waiting: nothing is stored before the load is in.
            compare(field.text, "buy milk")
            verify(named("quickAddWaiting").visible)
            verify(!named("addButton").enabled, "a second add could wait")
            compare(support.storedCount(), 3)
            loadingShown()

            support.startLoad()
            tryCompare(testDevice, "loaded", true, 20000)
            // The whole list, with the waiting reminder added once.
            tryCompare(model, "count", 4)
            compare(field.text, "")
            verify(!named("quickAddWaiting").visible)
            tryVerify(() => support.storedCount() === 4, 10000)
            const texts = support.storedTexts()
            compare(texts.filter(t => t === "buy milk").length, 1)
            verify(!named("loadingState").visible)
            tryCompare(list, "count", 3)
            compare(list.count, model.rowCount())
            verify(indexOfText("buy milk") >= 0)
            verify(indexOfText("alpha") >= 0)
            verify(indexOfText("bravo") >= 0)
            compare(named("countsLabel").text, "3 open  ·  1 completed")
        }

        function test_typedTextStaysUntilAdded() {
            storeThree()
            support.signInHeld()
            loadingShown()
            const field = named("quickAddField")
            field.forceActiveFocus()
            typeText("call the plumber")
            verify(!named("quickAddWaiting").visible)

            support.startLoad()
            tryCompare(testDevice, "loaded", true, 20000)
            tryCompare(model, "count", 3)
            // Not added by itself, not lost, and the caret is still there.
            compare(field.text, "call the plumber")
            verify(field.activeFocus)
            compare(support.storedCount(), 3)
            typeText(" today")
            keyClick(Qt.Key_Return)
            tryCompare(model, "count", 4)
            compare(field.text, "")
            verify(indexOfText("call the plumber today") >= 0)
        }

        function test_textClearedWhileLoadingAddsNothing() {
            storeThree()
            support.signInHeld()
            const field = named("quickAddField")
            field.forceActiveFocus()
            typeText("never mind")
            keyClick(Qt.Key_Return)
            verify(named("quickAddWaiting").visible)
            field.selectAll()
            keyClick(Qt.Key_Backspace)
            compare(field.text, "")
            verify(!named("quickAddWaiting").visible)

            support.startLoad()
            tryCompare(testDevice, "loaded", true, 20000)
            tryCompare(model, "count", 3)
            support.settle()
            compare(support.storedCount(), 3)
        }

        function test_anEmptyStoreIsCalledEmptyOnlyOnceLoaded() {
            support.signInHeld()
            loadingShown()
            support.startLoad()
            tryCompare(testDevice, "loaded", true, 20000)
            tryVerify(() => named("emptyState").visible)
            verify(!named("loadingState").visible)
            compare(named("countsLabel").text, "0 open  ·  0 completed")
        }

        function test_newRemindersWaitForTheLoad() {
            support.signInHeld()
            verify(!named("newButton").enabled)
            verify(!named("remindAbout_0").enabled)
            // The shortcut and the entry points open nothing either.
            pane.openNewEditor("")
            pane.remindAbout(0)
            verify(!editor.opened && !testDevice.edit.open)
            support.startLoad()
            tryCompare(testDevice, "loaded", true, 20000)
            verify(named("newButton").enabled)
            verify(named("remindAbout_0").enabled)
        }
    }
}
