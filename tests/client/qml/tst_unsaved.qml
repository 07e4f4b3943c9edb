import QtQuick
import QtTest
import ReminderDesk

// Nothing typed is lost: Esc, the editor's close button and closing the
// window ask Save / Discard / Cancel when something changed; a draft the
// last run left is offered above the list.
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
        name: "Unsaved"
        pane: devicePane

        function unsaved() { return editor.unsavedDialog }
        function answer(name) {
            const dialog = unsaved()
            tryCompare(dialog, "opened", true)
            click(findChild(dialog.footer, name))
            tryCompare(dialog, "visible", false)
        }

        function test_a_newReminderIsNotStoredBeforeSave() {
            startNew("buy a birthday card", "")
            compare(model.count, 0)
            compare(support.storedCount(), 0)
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", 1)
            compare(support.storedTexts()[0], "buy a birthday card")
        }

        function test_b_escWithoutChangesClosesAtOnce() {
            click(named("newButton"))
            waitEditorOpen()
            keyClick(Qt.Key_Escape)
            waitEditorClosed()
            verify(!unsaved().visible)
            compare(model.count, 1)
        }

        function test_c_escWithChangesAsks() {
            startNew("pick up the keys", "")
            keyClick(Qt.Key_Escape)
            tryCompare(unsaved(), "opened", true)
            compare(unsaved().title, "Save this new reminder?")
            // Cancel: back to the editor, the text still there.
            answer("unsavedCancel")
            verify(editor.opened)
            compare(handler.content, "pick up the keys")
            // The close button asks the same; Discard throws it away.
            click(inEditor("editorCloseButton"))
            answer("unsavedDiscard")
            waitEditorClosed()
            compare(model.count, 1)
            compare(support.storedCount(), 1)
        }

        function test_d_escWithChangesCanSave() {
            const id = rowAt(0).remindId
            mouseClick(findChild(rowAt(0), "rowText"))
            waitEditorOpen()
            const area = inEditor("editorText")
            area.forceActiveFocus()
            area.cursorPosition = area.length
            typeText(" today")
            keyClick(Qt.Key_Escape)
            tryCompare(unsaved(), "opened", true)
            compare(unsaved().title, "Save your changes?")
            answer("unsavedSave")
            waitEditorClosed()
            tryVerify(() => support.storedTexts().indexOf("buy a birthday card today") >= 0, 10000)
            compare(testDevice.bodyText(testDevice.itemById(id)), "buy a birthday card today")
        }

        function test_e_closingTheWindowAsks() {
            let closed = 0
            startNew("renew the car insurance", "")
            // The window asks before it closes.
            verify(!devicePane.confirmClose(() => { closed += 1 }))
            answer("unsavedSave")
            waitEditorClosed()
            compare(closed, 1)
            tryCompare(model, "count", 2)
            // Nothing open: the window closes without a question.
            verify(devicePane.confirmClose(() => { closed += 1 }))
            compare(closed, 1)
        }

        function test_f_anEditThatCannotBeSavedOffersDiscard() {
            click(named("newButton"))
            waitEditorOpen()
            click(inEditor("timeSwitch"))
            keyClick(Qt.Key_Escape)
            tryCompare(unsaved(), "opened", true)
            verify(!findChild(unsaved().footer, "unsavedSave").enabled)
            answer("unsavedDiscard")
            waitEditorClosed()
            compare(model.count, 2)
        }

        function test_g_aDraftOfTheLastRunIsOffered() {
            verify(!named("draftBar").visible)
            verify(support.writeDraft(JSON.stringify({
                version: 1, kind: "new", remindId: "", sample: -1, text: "from before the crash",
                pattern: { remindTime: 0, repeatFlag: 0, interval: 0, unit: 0, dayOfWeekFlags: 0,
                           endDate: 0, repeatCount: 0, snooze: 0 },
                attached: "", removed: false })))
            testDevice.edit.reloadDrafts()
            const bar = named("draftBar")
            tryCompare(bar, "visible", true)
            compare(findChild(bar, "draftText").text, "Unsaved reminder from last time: “from before the crash”")
            click(findChild(bar, "draftContinue"))
            waitEditorOpen()
            verify(!bar.visible)
            compare(inEditor("editorText").text, "from before the crash")
            click(inEditor("saveButton"))
            waitEditorClosed()
            tryCompare(model, "count", 3)
            tryVerify(() => support.storedTexts().indexOf("from before the crash") >= 0, 10000)
        }
    }
}
