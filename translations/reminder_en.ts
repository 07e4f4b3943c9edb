<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="en" sourcelanguage="en">
<!-- Id-based catalogue of the reminder module: the code looks every text
     up by its id with qtTrId(). <source> is the English engineering text;
     <translation> is what users see. Placeholders (%1, %2, %3, %n) are
     described in each <extracomment> and in docs/translations.md. -->
<context>
    <name></name>
    <message id="reminder_repeat_not_repeating">
        <source>Does not repeat</source>
        <extracomment>Repeat option: the reminder happens once.</extracomment>
        <translation>Does not repeat</translation>
    </message>
    <message id="reminder_repeat_every_day">
        <source>Every day</source>
        <extracomment>Repeat option.</extracomment>
        <translation>Every day</translation>
    </message>
    <message id="reminder_repeat_every_select_week">
        <source>Every week on %1</source>
        <extracomment>Repeat option. %1: full weekday name ("Wednesday").</extracomment>
        <translation>Every week on %1</translation>
    </message>
    <message id="reminder_repeat_every_select_week_of_month">
        <source>Every month on the %1 %2</source>
        <extracomment>Repeat option. %1: week-of-month ordinal, already localised ("5th", "第5"); %2: full weekday name.</extracomment>
        <translation>Every month on the %1 %2</translation>
    </message>
    <message id="reminder_repeat_every_month_by_yearly">
        <source>Every year on %1 %2</source>
        <extracomment>Repeat option. %1: short month name ("Jan", "1月"); %2: day of the month as a number.</extracomment>
        <translation>Every year on %1 %2</translation>
    </message>
    <message id="reminder_repeat_every_work_day">
        <source>Every weekday</source>
        <extracomment>Repeat option: working days only.</extracomment>
        <translation>Every weekday</translation>
    </message>
    <message id="msd_custom">
        <source>Custom</source>
        <extracomment>Repeat option that opens the custom repeat editor.</extracomment>
        <translation>Custom</translation>
    </message>
    <message id="repeat_day_of_month">
        <source>On the %1</source>
        <extracomment>Custom monthly repeat. %1: ordinal of the day of the month, already localised ("31st", "第31").</extracomment>
        <translation>On the %1</translation>
    </message>
    <message id="repeat_week_of_month">
        <source>On the %1 %2</source>
        <extracomment>Custom monthly repeat. %1: week-of-month ordinal, already localised; %2: full weekday name.</extracomment>
        <translation>On the %1 %2</translation>
    </message>
    <message id="repeat_last_day_of_month">
        <source>On the %1 day from the end of the month</source>
        <extracomment>Custom monthly repeat. %1: ordinal counted from the end of the month, already localised ("1st" is the last day).</extracomment>
        <translation>On the %1 day from the end of the month</translation>
    </message>
    <message id="repeat_last_week_of_month">
        <source>On the %1 %2 from the end of the month</source>
        <extracomment>Custom monthly repeat. %1: week ordinal counted from the end of the month, already localised; %2: full weekday name.</extracomment>
        <translation>On the %1 %2 from the end of the month</translation>
    </message>
    <message id="reminder_interval_days">
        <source>Every %1 days</source>
        <extracomment>Custom repeat interval. %1: the interval, a plain number.</extracomment>
        <translation>Every %1 days</translation>
    </message>
    <message id="reminder_interval_weeks" numerus="yes">
        <source>Every %n weeks</source>
        <extracomment>Custom repeat interval. %n: the interval.</extracomment>
        <translation>
            <numerusform>Every week</numerusform>
            <numerusform>Every %n weeks</numerusform>
        </translation>
    </message>
    <message id="reminder_interval_months" numerus="yes">
        <source>Every %n months</source>
        <extracomment>Custom repeat interval. %n: the interval.</extracomment>
        <translation>
            <numerusform>Every month</numerusform>
            <numerusform>Every %n months</numerusform>
        </translation>
    </message>
    <message id="reminder_repeat_day_tips">
        <source>Repeats every day.</source>
        <extracomment>Summary under the custom repeat editor.</extracomment>
        <translation>Repeats every day.</translation>
    </message>
    <message id="reminder_repeat_days_tips">
        <source>Repeats every %1 days.</source>
        <extracomment>Summary. %1: the interval, a plain number.</extracomment>
        <translation>Repeats every %1 days.</translation>
    </message>
    <message id="reminder_repeat_week_tips">
        <source>Repeats every week on %1.</source>
        <extracomment>Summary. %1: comma-separated full weekday names, or the text of reminder_all_week.</extracomment>
        <translation>Repeats every week on %1.</translation>
    </message>
    <message id="reminder_repeat_weeks_tips">
        <source>Repeats every %1 weeks on %2.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: comma-separated full weekday names, or the text of reminder_all_week.</extracomment>
        <translation>Repeats every %1 weeks on %2.</translation>
    </message>
    <message id="reminder_all_week">
        <source>every day of the week</source>
        <extracomment>Stands for the list of all seven weekdays in the weekly summaries.</extracomment>
        <translation>every day of the week</translation>
    </message>
    <message id="reminder_repeat_day_month_tips">
        <source>Repeats every month on the %1.</source>
        <extracomment>Summary. %1: ordinal of the day of the month, already localised.</extracomment>
        <translation>Repeats every month on the %1.</translation>
    </message>
    <message id="reminder_repeat_day_months_tips">
        <source>Repeats every %1 months on the %2.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: ordinal of the day of the month, already localised.</extracomment>
        <translation>Repeats every %1 months on the %2.</translation>
    </message>
    <message id="reminder_repeat_week_month_tips">
        <source>Repeats every month on the %1 %2.</source>
        <extracomment>Summary. %1: week-of-month ordinal, already localised; %2: full weekday name.</extracomment>
        <translation>Repeats every month on the %1 %2.</translation>
    </message>
    <message id="reminder_repeat_week_months_tips">
        <source>Repeats every %1 months on the %2 %3.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: week-of-month ordinal, already localised; %3: full weekday name.</extracomment>
        <translation>Repeats every %1 months on the %2 %3.</translation>
    </message>
    <message id="reminder_repeat_last_day_month_tips">
        <source>Repeats every month on the %1 day from the end of the month.</source>
        <extracomment>Summary. %1: ordinal counted from the end of the month, already localised.</extracomment>
        <translation>Repeats every month on the %1 day from the end of the month.</translation>
    </message>
    <message id="reminder_repeat_last_day_months_tips">
        <source>Repeats every %1 months on the %2 day from the end of the month.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: ordinal counted from the end of the month, already localised.</extracomment>
        <translation>Repeats every %1 months on the %2 day from the end of the month.</translation>
    </message>
    <message id="reminder_repeat_last_week_month_tips">
        <source>Repeats every month on the %1 %2 from the end of the month.</source>
        <extracomment>Summary. %1: week ordinal counted from the end of the month, already localised; %2: full weekday name.</extracomment>
        <translation>Repeats every month on the %1 %2 from the end of the month.</translation>
    </message>
    <message id="reminder_repeat_last_week_months_tips">
        <source>Repeats every %1 months on the %2 %3 from the end of the month.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: week ordinal counted from the end of the month, already localised; %3: full weekday name.</extracomment>
        <translation>Repeats every %1 months on the %2 %3 from the end of the month.</translation>
    </message>
    <message id="reminder_directory_send_disable">
        <source>Folders can't be attached to a reminder.</source>
        <extracomment>Error toast: the user tried to attach a folder to a reminder.</extracomment>
        <translation>Folders can't be attached to a reminder.</translation>
    </message>
    <!-- The desktop client (client/): ids desk_*. -->
    <message id="desk_app_title">
        <source>Reminders</source>
        <extracomment>Window and tray title.</extracomment>
        <translation>Reminders</translation>
    </message>
    <message id="desk_window_title">
        <source>Reminders — Device %1</source>
        <extracomment>Window title. %1: the device's number.</extracomment>
        <translation>Reminders — Device %1</translation>
    </message>
    <message id="desk_device_name">
        <source>Device %1</source>
        <extracomment>Chip naming the window's device. %1: its number.</extracomment>
        <translation>Device %1</translation>
    </message>
    <message id="desk_search_placeholder">
        <source>Search reminders</source>
        <extracomment>Placeholder of the search field.</extracomment>
        <translation>Search reminders</translation>
    </message>
    <message id="desk_select">
        <source>Select</source>
        <extracomment>Toolbar button: multi-selection mode.</extracomment>
        <translation>Select</translation>
    </message>
    <message id="desk_select_tooltip">
        <source>Select several reminders to delete them</source>
        <extracomment>Tooltip of the Select button.</extracomment>
        <translation>Select several reminders to delete them</translation>
    </message>
    <message id="desk_sync_now">
        <source>Sync now</source>
        <extracomment>Toolbar button: list from the server again.</extracomment>
        <translation>Sync now</translation>
    </message>
    <message id="desk_sync_tooltip">
        <source>Fetch this device's reminders from the server again</source>
        <extracomment>Tooltip of Sync now.</extracomment>
        <translation>Fetch this device's reminders from the server again</translation>
    </message>
    <message id="desk_quick_add_placeholder">
        <source>Add a reminder and press Enter</source>
        <extracomment>Placeholder of the quick-add field.</extracomment>
        <translation>Add a reminder and press Enter</translation>
    </message>
    <message id="desk_add">
        <source>Add</source>
        <extracomment>Button: add the typed text as a reminder.</extracomment>
        <translation>Add</translation>
    </message>
    <message id="desk_new_with_details">
        <source>New with details…</source>
        <extracomment>Button: open the full editor for a new reminder.</extracomment>
        <translation>New with details…</translation>
    </message>
    <message id="desk_count_open" numerus="yes">
        <source>%n open</source>
        <extracomment>Count of open reminders. %n: the count.</extracomment>
        <translation>
            <numerusform>%n open</numerusform>
            <numerusform>%n open</numerusform>
        </translation>
    </message>
    <message id="desk_count_completed" numerus="yes">
        <source>%n completed</source>
        <extracomment>Count of completed reminders. %n: the count.</extracomment>
        <translation>
            <numerusform>%n completed</numerusform>
            <numerusform>%n completed</numerusform>
        </translation>
    </message>
    <message id="desk_search_results" numerus="yes">
        <source>%n results</source>
        <extracomment>Count of search results. %n: the count.</extracomment>
        <translation>
            <numerusform>%n result</numerusform>
            <numerusform>%n results</numerusform>
        </translation>
    </message>
    <message id="desk_overdue_badge" numerus="yes">
        <source>%n overdue</source>
        <extracomment>Badge: open reminders whose time has passed. %n: the count.</extracomment>
        <translation>
            <numerusform>%n overdue</numerusform>
            <numerusform>%n overdue</numerusform>
        </translation>
    </message>
    <message id="desk_drag_hint">
        <source>Drag a row by its handle to reorder</source>
        <extracomment>Hint above the list.</extracomment>
        <translation>Drag a row by its handle to reorder</translation>
    </message>
    <message id="desk_completed_show" numerus="yes">
        <source>Show %n completed</source>
        <extracomment>Toggle that shows the completed section. %n: its size.</extracomment>
        <translation>
            <numerusform>Show %n completed</numerusform>
            <numerusform>Show %n completed</numerusform>
        </translation>
    </message>
    <message id="desk_completed_hide" numerus="yes">
        <source>Hide %n completed</source>
        <extracomment>Toggle that hides the completed section. %n: its size.</extracomment>
        <translation>
            <numerusform>Hide %n completed</numerusform>
            <numerusform>Hide %n completed</numerusform>
        </translation>
    </message>
    <message id="desk_open_heading">
        <source>Open</source>
        <extracomment>Heading of the open section below the completed one.</extracomment>
        <translation>Open</translation>
    </message>
    <message id="desk_search_empty">
        <source>Nothing matches your search</source>
        <extracomment>The search found nothing.</extracomment>
        <translation>Nothing matches your search</translation>
    </message>
    <message id="desk_list_empty">
        <source>No reminders yet</source>
        <extracomment>The list is empty.</extracomment>
        <translation>No reminders yet</translation>
    </message>
    <message id="desk_list_empty_hint">
        <source>Add one above, or from a chat message on the right.</source>
        <extracomment>Below desk_list_empty.</extracomment>
        <translation>Add one above, or from a chat message on the right.</translation>
    </message>
    <message id="desk_list_loading">
        <source>Loading your reminders…</source>
        <extracomment>In place of the list while the stored reminders are read at start.</extracomment>
        <translation>Loading your reminders…</translation>
    </message>
    <message id="desk_quick_add_waiting">
        <source>Added as soon as your reminders are loaded</source>
        <extracomment>Under the quick add field: Enter (or Add) was pressed while the stored reminders were still being read.</extracomment>
        <translation>Added as soon as your reminders are loaded</translation>
    </message>
    <message id="desk_complete_tooltip">
        <source>Mark as done (Space)</source>
        <extracomment>Tooltip of a row's round check.</extracomment>
        <translation>Mark as done (Space)</translation>
    </message>
    <message id="desk_reopen_tooltip">
        <source>Mark as not done (Space)</source>
        <extracomment>Tooltip of a completed row's check.</extracomment>
        <translation>Mark as not done (Space)</translation>
    </message>
    <message id="desk_row_snoozed_until">
        <source>Snoozed until %1</source>
        <extracomment>A snoozed row's time: when it fires again. %1: the time ("Today 09:10").</extracomment>
        <translation>Snoozed until %1</translation>
    </message>
    <message id="desk_row_overdue">
        <source>Overdue · %1</source>
        <extracomment>A row's time once it has passed. %1: the time ("Today 09:00").</extracomment>
        <translation>Overdue · %1</translation>
    </message>
    <message id="desk_row_snooze" numerus="yes">
        <source>Snoozes every %n minutes</source>
        <extracomment>A row's snooze period. %n: minutes.</extracomment>
        <translation>
            <numerusform>Snoozes every minute</numerusform>
            <numerusform>Snoozes every %n minutes</numerusform>
        </translation>
    </message>
    <message id="desk_select_all">
        <source>Select all</source>
        <extracomment>Check box of the selection bar.</extracomment>
        <translation>Select all</translation>
    </message>
    <message id="desk_selected_count" numerus="yes">
        <source>%n selected</source>
        <extracomment>Selection bar. %n: selected reminders.</extracomment>
        <translation>
            <numerusform>%n selected</numerusform>
            <numerusform>%n selected</numerusform>
        </translation>
    </message>
    <message id="desk_select_completed">
        <source>Select completed</source>
        <extracomment>Selection bar button.</extracomment>
        <translation>Select completed</translation>
    </message>
    <message id="desk_delete_selected">
        <source>Delete selected</source>
        <extracomment>Selection bar button.</extracomment>
        <translation>Delete selected</translation>
    </message>
    <message id="desk_delete_completed">
        <source>Delete all completed</source>
        <extracomment>Selection bar button.</extracomment>
        <translation>Delete all completed</translation>
    </message>
    <message id="desk_done">
        <source>Done</source>
        <extracomment>Button that ends a step.</extracomment>
        <translation>Done</translation>
    </message>
    <message id="desk_confirm_title">
        <source>Delete reminders</source>
        <extracomment>Title of the delete confirmation.</extracomment>
        <translation>Delete reminders</translation>
    </message>
    <message id="desk_confirm_delete_selected" numerus="yes">
        <source>Delete the %n selected reminders?</source>
        <extracomment>Delete confirmation. %n: how many.</extracomment>
        <translation>
            <numerusform>Delete the selected reminder?</numerusform>
            <numerusform>Delete the %n selected reminders?</numerusform>
        </translation>
    </message>
    <message id="desk_confirm_delete_completed" numerus="yes">
        <source>Delete all %n completed reminders?</source>
        <extracomment>Delete confirmation. %n: how many.</extracomment>
        <translation>
            <numerusform>Delete the completed reminder?</numerusform>
            <numerusform>Delete all %n completed reminders?</numerusform>
        </translation>
    </message>
    <message id="desk_cancel">
        <source>Cancel</source>
        <extracomment>Button.</extracomment>
        <translation>Cancel</translation>
    </message>
    <message id="desk_delete">
        <source>Delete</source>
        <extracomment>Button.</extracomment>
        <translation>Delete</translation>
    </message>
    <message id="desk_editor_new_title">
        <source>New reminder</source>
        <extracomment>Editor title for a new reminder.</extracomment>
        <translation>New reminder</translation>
    </message>
    <message id="desk_editor_edit_title">
        <source>Edit reminder</source>
        <extracomment>Editor title for an existing reminder.</extracomment>
        <translation>Edit reminder</translation>
    </message>
    <message id="desk_editor_quote_from">
        <source>From %1</source>
        <extracomment>Above the quoted chat message. %1: its sender.</extracomment>
        <translation>From %1</translation>
    </message>
    <message id="desk_editor_text_placeholder">
        <source>What do you want to be reminded of?</source>
        <extracomment>Placeholder of the reminder's text.</extracomment>
        <translation>What do you want to be reminded of?</translation>
    </message>
    <message id="desk_editor_remove_attachment">
        <source>Remove</source>
        <extracomment>Button: remove the attached file.</extracomment>
        <translation>Remove</translation>
    </message>
    <message id="desk_editor_attach">
        <source>Attach a file</source>
        <extracomment>Button: attach a file.</extracomment>
        <translation>Attach a file</translation>
    </message>
    <message id="desk_editor_attach_title">
        <source>Choose a file to attach</source>
        <extracomment>Title of the file chooser.</extracomment>
        <translation>Choose a file to attach</translation>
    </message>
    <message id="desk_editor_remind_me">
        <source>Remind me</source>
        <extracomment>Section: the reminder's time.</extracomment>
        <translation>Remind me</translation>
    </message>
    <message id="desk_editor_no_time">
        <source>No time set: the reminder stays in your list as a note.</source>
        <extracomment>Shown while no time is set.</extracomment>
        <translation>No time set: the reminder stays in your list as a note.</translation>
    </message>
    <message id="desk_editor_repeat">
        <source>Repeat</source>
        <extracomment>Row that opens the repeat page.</extracomment>
        <translation>Repeat</translation>
    </message>
    <message id="desk_editor_no_repeat">
        <source>Does not repeat</source>
        <extracomment>The repeat row when there is no rule.</extracomment>
        <translation>Does not repeat</translation>
    </message>
    <message id="desk_save">
        <source>Save</source>
        <extracomment>Button.</extracomment>
        <translation>Save</translation>
    </message>
    <message id="desk_repeat_words_detail">
        <source>%1 · %2</source>
        <extracomment>A rule and its days. %1: the rule ("Every week"); %2: its days or monthly variant ("Mon, Wed").</extracomment>
        <translation>%1 · %2</translation>
    </message>
    <message id="desk_list_separator">
        <source>, </source>
        <extracomment>Between the days of a list ("Mon, Wed").</extracomment>
        <translation>, </translation>
    </message>
    <message id="desk_repeat_title">
        <source>Repeat</source>
        <extracomment>Title of the repeat page.</extracomment>
        <translation>Repeat</translation>
    </message>
    <message id="desk_repeat_custom_heading">
        <source>Custom rule</source>
        <extracomment>Repeat page: the custom rule's section.</extracomment>
        <translation>Custom rule</translation>
    </message>
    <message id="desk_repeat_every">
        <source>Every</source>
        <extracomment>Before the interval ("Every [2] [weeks]").</extracomment>
        <translation>Every</translation>
    </message>
    <message id="desk_unit_days">
        <source>days</source>
        <extracomment>Unit after the interval.</extracomment>
        <translation>days</translation>
    </message>
    <message id="desk_unit_weeks">
        <source>weeks</source>
        <extracomment>Unit after the interval.</extracomment>
        <translation>weeks</translation>
    </message>
    <message id="desk_unit_months">
        <source>months</source>
        <extracomment>Unit after the interval.</extracomment>
        <translation>months</translation>
    </message>
    <message id="desk_repeat_ends">
        <source>Ends</source>
        <extracomment>Repeat page: when the series ends.</extracomment>
        <translation>Ends</translation>
    </message>
    <message id="desk_repeat_end_never">
        <source>Never</source>
        <extracomment>End choice.</extracomment>
        <translation>Never</translation>
    </message>
    <message id="desk_repeat_end_on">
        <source>On</source>
        <extracomment>End choice, followed by a date.</extracomment>
        <translation>On</translation>
    </message>
    <message id="desk_repeat_end_after">
        <source>After</source>
        <extracomment>End choice, followed by a number and desk_repeat_times.</extracomment>
        <translation>After</translation>
    </message>
    <message id="desk_repeat_times" numerus="yes">
        <source>times</source>
        <extracomment>After the repeat count's number. %n: the count (not shown).</extracomment>
        <translation>
            <numerusform>time</numerusform>
            <numerusform>times</numerusform>
        </translation>
    </message>
    <message id="desk_repeat_snooze">
        <source>Snooze</source>
        <extracomment>Repeat page: the snooze period.</extracomment>
        <translation>Snooze</translation>
    </message>
    <message id="desk_snooze_off">
        <source>Off</source>
        <extracomment>Snooze choice: none.</extracomment>
        <translation>Off</translation>
    </message>
    <message id="desk_snooze_every" numerus="yes">
        <source>Every %n minutes</source>
        <extracomment>Snooze choice. %n: minutes.</extracomment>
        <translation>
            <numerusform>Every minute</numerusform>
            <numerusform>Every %n minutes</numerusform>
        </translation>
    </message>
    <message id="desk_repeat_hint">
        <source>Pick a preset, or Custom to build your own rule.</source>
        <extracomment>Footer of the repeat page.</extracomment>
        <translation>Pick a preset, or Custom to build your own rule.</translation>
    </message>
    <message id="desk_chat_title">
        <source>Chat</source>
        <extracomment>Title of the chat pane.</extracomment>
        <translation>Chat</translation>
    </message>
    <message id="desk_chat_hint">
        <source>Turn any message into a reminder.</source>
        <extracomment>Below the chat title.</extracomment>
        <translation>Turn any message into a reminder.</translation>
    </message>
    <message id="desk_chat_contact_card">
        <source>Contact card</source>
        <extracomment>Label of a contact card message.</extracomment>
        <translation>Contact card</translation>
    </message>
    <message id="desk_chat_poll">
        <source>Poll</source>
        <extracomment>Label of a poll message.</extracomment>
        <translation>Poll</translation>
    </message>
    <message id="desk_chat_remind_me">
        <source>Remind me about this</source>
        <extracomment>Button under a chat message.</extracomment>
        <translation>Remind me about this</translation>
    </message>
    <message id="desk_banner_title">
        <source>Reminder · %1</source>
        <extracomment>Banner of a fired reminder. %1: its time ("Today 09:45").</extracomment>
        <translation>Reminder · %1</translation>
    </message>
    <message id="desk_banner_snooze">
        <source>Snooze 10 min</source>
        <extracomment>Banner button: remind again in 10 minutes.</extracomment>
        <translation>Snooze 10 min</translation>
    </message>
    <message id="desk_banner_tomorrow">
        <source>Tomorrow</source>
        <extracomment>Banner button: remind again tomorrow morning.</extracomment>
        <translation>Tomorrow</translation>
    </message>
    <message id="desk_banner_close">
        <source>Close</source>
        <extracomment>Banner button: stop this occurrence's snoozing.</extracomment>
        <translation>Close</translation>
    </message>
    <message id="desk_banner_done">
        <source>Done</source>
        <extracomment>Banner button: complete the reminder.</extracomment>
        <translation>Done</translation>
    </message>
    <message id="desk_time_today">
        <source>Today %1</source>
        <extracomment>%1: a time of day ("14:30").</extracomment>
        <translation>Today %1</translation>
    </message>
    <message id="desk_time_tomorrow">
        <source>Tomorrow %1</source>
        <extracomment>%1: a time of day.</extracomment>
        <translation>Tomorrow %1</translation>
    </message>
    <message id="desk_time_yesterday">
        <source>Yesterday %1</source>
        <extracomment>%1: a time of day.</extracomment>
        <translation>Yesterday %1</translation>
    </message>
    <message id="desk_time_on_date">
        <source>%1 %2</source>
        <extracomment>%1: a date (desk_date_format_short or _long); %2: a time of day.</extracomment>
        <translation>%1 %2</translation>
    </message>
    <message id="desk_date_format_short">
        <source>ddd d MMM</source>
        <extracomment>QLocale date format for dates of this year (d, dd, ddd, M, MMM, yyyy...).</extracomment>
        <translation>ddd d MMM</translation>
    </message>
    <message id="desk_date_format_long">
        <source>ddd d MMM yyyy</source>
        <extracomment>QLocale date format with the year.</extracomment>
        <translation>ddd d MMM yyyy</translation>
    </message>
    <message id="desk_month_format">
        <source>MMMM yyyy</source>
        <extracomment>QLocale format of the calendar's month title.</extracomment>
        <translation>MMMM yyyy</translation>
    </message>
    <message id="desk_quick_in_hour">
        <source>In an hour</source>
        <extracomment>Quick time choice.</extracomment>
        <translation>In an hour</translation>
    </message>
    <message id="desk_quick_this_evening">
        <source>This evening</source>
        <extracomment>Quick time choice: today 18:00.</extracomment>
        <translation>This evening</translation>
    </message>
    <message id="desk_quick_tomorrow">
        <source>Tomorrow morning</source>
        <extracomment>Quick time choice: tomorrow 09:00.</extracomment>
        <translation>Tomorrow morning</translation>
    </message>
    <message id="desk_quick_next_week">
        <source>Next Monday</source>
        <extracomment>Quick time choice: next Monday 09:00.</extracomment>
        <translation>Next Monday</translation>
    </message>
    <message id="desk_quote_card">
        <source>Contact card: %1</source>
        <extracomment>Quoted contact card. %1: the contact's name.</extracomment>
        <translation>Contact card: %1</translation>
    </message>
    <message id="desk_quote_poll">
        <source>Poll: %1</source>
        <extracomment>Quoted poll. %1: its title.</extracomment>
        <translation>Poll: %1</translation>
    </message>
    <message id="desk_unknown_sender">
        <source>Someone</source>
        <extracomment>Sender of a quoted message nobody knows.</extracomment>
        <translation>Someone</translation>
    </message>
    <message id="desk_attach_unreadable">
        <source>This file can't be attached: the file cannot be read.</source>
        <extracomment>Toast: the chosen file is gone, or cannot be read.</extracomment>
        <translation>This file can't be attached: the file cannot be read.</translation>
    </message>
    <message id="desk_attach_empty">
        <source>This file can't be attached: the file is empty.</source>
        <extracomment>Toast: the chosen file has no bytes.</extracomment>
        <translation>This file can't be attached: the file is empty.</translation>
    </message>
    <message id="desk_attach_not_image">
        <source>This picture can't be attached: it cannot be read as an image.</source>
        <extracomment>Toast: the chosen picture is not an image that can be read.</extracomment>
        <translation>This picture can't be attached: it cannot be read as an image.</translation>
    </message>
    <message id="desk_attach_too_large">
        <source>This file can't be attached: it is larger than 2 GB.</source>
        <extracomment>Toast: the chosen file is over the size limit.</extracomment>
        <translation>This file can't be attached: it is larger than 2 GB.</translation>
    </message>
    <message id="desk_keys_title">
        <source>Keyboard shortcuts</source>
        <extracomment>Title of the shortcuts overlay.</extracomment>
        <translation>Keyboard shortcuts</translation>
    </message>
    <message id="desk_keys_new">
        <source>New reminder with details</source>
        <extracomment>Shortcuts overlay: what Ctrl+N does.</extracomment>
        <translation>New reminder with details</translation>
    </message>
    <message id="desk_keys_search">
        <source>Search</source>
        <extracomment>Shortcuts overlay: what Ctrl+F does.</extracomment>
        <translation>Search</translation>
    </message>
    <message id="desk_keys_move">
        <source>Move through the list</source>
        <extracomment>Shortcuts overlay: the arrow keys.</extracomment>
        <translation>Move through the list</translation>
    </message>
    <message id="desk_keys_open">
        <source>Open the reminder</source>
        <extracomment>Shortcuts overlay: Enter on a row.</extracomment>
        <translation>Open the reminder</translation>
    </message>
    <message id="desk_keys_complete">
        <source>Complete or reopen the reminder</source>
        <extracomment>Shortcuts overlay: Space on a row.</extracomment>
        <translation>Complete or reopen the reminder</translation>
    </message>
    <message id="desk_keys_save">
        <source>Save the open reminder</source>
        <extracomment>Shortcuts overlay: Ctrl+Enter in the editor.</extracomment>
        <translation>Save the open reminder</translation>
    </message>
    <message id="desk_keys_cancel">
        <source>Close the editor (asking first if you changed something) or this list</source>
        <extracomment>Shortcuts overlay: Esc.</extracomment>
        <translation>Close the editor (asking first if you changed something) or this list</translation>
    </message>
    <message id="desk_keys_tab">
        <source>Next control</source>
        <extracomment>Shortcuts overlay: Tab.</extracomment>
        <translation>Next control</translation>
    </message>
    <message id="desk_keys_help">
        <source>Show these shortcuts</source>
        <extracomment>Shortcuts overlay: F1.</extracomment>
        <translation>Show these shortcuts</translation>
    </message>
    <message id="desk_key_enter">
        <source>Enter</source>
        <extracomment>The Enter key's name.</extracomment>
        <translation>Enter</translation>
    </message>
    <message id="desk_key_space">
        <source>Space</source>
        <extracomment>The space bar's name.</extracomment>
        <translation>Space</translation>
    </message>
    <message id="desk_new_tooltip">
        <source>New reminder with details (Ctrl+N)</source>
        <extracomment>Tooltip of the New with details button.</extracomment>
        <translation>New reminder with details (Ctrl+N)</translation>
    </message>
    <message id="desk_search_tooltip">
        <source>Search (Ctrl+F)</source>
        <extracomment>Tooltip of the search field.</extracomment>
        <translation>Search (Ctrl+F)</translation>
    </message>
    <message id="desk_toast_attach_failed">
        <source>This file can't be attached (error %1).</source>
        <extracomment>Toast. %1: the media parser's error code.</extracomment>
        <translation>This file can't be attached (error %1).</translation>
    </message>
    <message id="desk_tray_show">
        <source>Show reminders</source>
        <extracomment>Tray menu.</extracomment>
        <translation>Show reminders</translation>
    </message>
    <message id="desk_tray_quit">
        <source>Quit</source>
        <extracomment>Tray menu.</extracomment>
        <translation>Quit</translation>
    </message>
    <message id="desk_tray_message_title">
        <source>Reminder on device %1</source>
        <extracomment>Desktop notification title. %1: the device's number.</extracomment>
        <translation>Reminder on device %1</translation>
    </message>
    <message id="desk_sample_text">
        <source>Can you send me the slides before Friday's review?</source>
        <extracomment>Sample chat: a text message.</extracomment>
        <translation>Can you send me the slides before Friday's review?</translation>
    </message>
    <message id="desk_sample_file_name">
        <source>Quarterly report.pdf</source>
        <extracomment>Sample chat: name of a shared file.</extracomment>
        <translation>Quarterly report.pdf</translation>
    </message>
    <message id="desk_sample_card_name">
        <source>Dr. Chen (dentist)</source>
        <extracomment>Sample chat: a shared contact.</extracomment>
        <translation>Dr. Chen (dentist)</translation>
    </message>
    <message id="desk_sample_poll_title">
        <source>Team lunch on Thursday: where shall we go?</source>
        <extracomment>Sample chat: a poll's question.</extracomment>
        <translation>Team lunch on Thursday: where shall we go?</translation>
    </message>
    <message id="desk_sample_poll_option_1">
        <source>Noodle bar</source>
        <extracomment>Sample poll option.</extracomment>
        <translation>Noodle bar</translation>
    </message>
    <message id="desk_sample_poll_option_2">
        <source>Pizza place</source>
        <extracomment>Sample poll option.</extracomment>
        <translation>Pizza place</translation>
    </message>
    <message id="desk_sample_poll_option_3">
        <source>Salad bar</source>
        <extracomment>Sample poll option.</extracomment>
        <translation>Salad bar</translation>
    </message>
    <message id="desk_tour_card">
        <source>Send Mia's birthday card</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Send Mia's birthday card</translation>
    </message>
    <message id="desk_tour_dentist">
        <source>Book a dentist appointment</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Book a dentist appointment</translation>
    </message>
    <message id="desk_tour_library">
        <source>Return the library books</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Return the library books</translation>
    </message>
    <message id="desk_tour_grandma">
        <source>Call Grandma</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Call Grandma</translation>
    </message>
    <message id="desk_tour_bill">
        <source>Pay the electricity bill</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Pay the electricity bill</translation>
    </message>
    <message id="desk_tour_passport">
        <source>Renew the passport</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Renew the passport</translation>
    </message>
    <message id="desk_tour_photos">
        <source>Print the holiday photos</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Print the holiday photos</translation>
    </message>
    <message id="desk_tour_report">
        <source>Review the quarterly report</source>
        <extracomment>Tour: a sample reminder's text; contains desk_tour_search_keyword.</extracomment>
        <translation>Review the quarterly report</translation>
    </message>
    <message id="desk_tour_plants">
        <source>Water the plants</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Water the plants</translation>
    </message>
    <message id="desk_tour_standup">
        <source>Team stand-up</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Team stand-up</translation>
    </message>
    <message id="desk_tour_parcel">
        <source>Pick up the parcel</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>Pick up the parcel</translation>
    </message>
    <message id="desk_tour_search_keyword">
        <source>report</source>
        <extracomment>Tour: the word searched for; must occur in desk_tour_report.</extracomment>
        <translation>report</translation>
    </message>
    <message id="desk_cli_description">
        <source>The desktop client of the reminder module.</source>
        <extracomment>Command line help.</extracomment>
        <translation>The desktop client of the reminder module.</translation>
    </message>
    <message id="desk_cli_devices">
        <source>Number of devices of the account to show: 1 or 2.</source>
        <extracomment>Command line help of --devices.</extracomment>
        <translation>Number of devices of the account to show: 1 or 2.</translation>
    </message>
    <message id="desk_cli_data">
        <source>Data directory (server database, file store, one folder per device).</source>
        <extracomment>Command line help of --data.</extracomment>
        <translation>Data directory (server database, file store, one folder per device).</translation>
    </message>
    <message id="desk_cli_language">
        <source>Interface language: en or zh_CN.</source>
        <extracomment>Command line help of --language.</extracomment>
        <translation>Interface language: en or zh_CN.</translation>
    </message>
    <message id="desk_cli_tour">
        <source>Run the scripted tour and write its screenshots to DIR.</source>
        <extracomment>Command line help of --tour.</extracomment>
        <translation>Run the scripted tour and write its screenshots to DIR.</translation>
    </message>
    <message id="desk_cli_quit_after_list">
        <source>Quit once every device has listed its reminders.</source>
        <extracomment>Command line help of --quit-after-list.</extracomment>
        <translation>Quit once every device has listed its reminders.</translation>
    </message>
    <message id="desk_cli_bad_devices">
        <source>--devices must be 1 or 2.</source>
        <extracomment>Command line error.</extracomment>
        <translation>--devices must be 1 or 2.</translation>
    </message>
    <message id="desk_cli_bad_language">
        <source>Unknown language: %1 (use en or zh_CN).</source>
        <extracomment>Command line error. %1: the language given.</extracomment>
        <translation>Unknown language: %1 (use en or zh_CN).</translation>
    </message>
    <message id="desk_cli_qml_failed">
        <source>The interface could not be loaded.</source>
        <extracomment>Error: the QML interface did not load.</extracomment>
        <translation>The interface could not be loaded.</translation>
    </message>
    <message id="desk_editor_close_tooltip">
        <source>Close (Esc)</source>
        <extracomment>Tooltip of the editor's close button.</extracomment>
        <translation>Close (Esc)</translation>
    </message>
    <message id="desk_save_tooltip">
        <source>Save (Ctrl+Enter)</source>
        <extracomment>Tooltip of the editor's Save button.</extracomment>
        <translation>Save (Ctrl+Enter)</translation>
    </message>
    <message id="desk_discard">
        <source>Discard</source>
        <extracomment>Button: throw the unsaved changes away.</extracomment>
        <translation>Discard</translation>
    </message>
    <message id="desk_unsaved_new_title">
        <source>Save this new reminder?</source>
        <extracomment>Question before an edit of a new reminder closes.</extracomment>
        <translation>Save this new reminder?</translation>
    </message>
    <message id="desk_unsaved_edit_title">
        <source>Save your changes?</source>
        <extracomment>Question before an edit with changes closes.</extracomment>
        <translation>Save your changes?</translation>
    </message>
    <message id="desk_unsaved_text">
        <source>If you discard them, your changes are lost.</source>
        <extracomment>Text of the question before an edit with changes closes.</extracomment>
        <translation>If you discard them, your changes are lost.</translation>
    </message>
    <message id="desk_unsaved_cannot_save">
        <source>There is nothing to remind of yet, so this can't be saved. Discard it, or cancel to go on editing.</source>
        <extracomment>Text of the question when the edit cannot be saved (nothing to remind of).</extracomment>
        <translation>There is nothing to remind of yet, so this can't be saved. Discard it, or cancel to go on editing.</translation>
    </message>
    <message id="desk_draft_not_saved">
        <source>Your unsaved reminder could not be kept on disk.</source>
        <extracomment>Toast: the draft file could not be written.</extracomment>
        <translation>Your unsaved reminder could not be kept on disk.</translation>
    </message>
    <message id="desk_draft_offer">
        <source>Unsaved reminder from last time: “%1”</source>
        <extracomment>Bar over the list at start. %1: the unsaved reminder's text.</extracomment>
        <translation>Unsaved reminder from last time: “%1”</translation>
    </message>
    <message id="desk_draft_offer_empty">
        <source>An unsaved reminder from last time</source>
        <extracomment>Bar over the list at start, for a draft without text.</extracomment>
        <translation>An unsaved reminder from last time</translation>
    </message>
    <message id="desk_draft_continue">
        <source>Continue editing</source>
        <extracomment>Button of the draft bar: open the unsaved reminder.</extracomment>
        <translation>Continue editing</translation>
    </message>
    <message id="desk_undo_completed" numerus="yes">
        <source>%n reminders completed</source>
        <extracomment>Undo toast. %n: how many reminders were completed.</extracomment>
        <translation>
            <numerusform>Reminder completed</numerusform>
            <numerusform>%n reminders completed</numerusform>
        </translation>
    </message>
    <message id="desk_undo_deleted" numerus="yes">
        <source>%n reminders deleted</source>
        <extracomment>Undo toast. %n: how many reminders were deleted.</extracomment>
        <translation>
            <numerusform>Reminder deleted</numerusform>
            <numerusform>%n reminders deleted</numerusform>
        </translation>
    </message>
    <message id="desk_undo">
        <source>Undo</source>
        <extracomment>Button of the undo toast.</extracomment>
        <translation>Undo</translation>
    </message>
    <message id="desk_undo_tooltip">
        <source>Undo (Ctrl+Z)</source>
        <extracomment>Tooltip of the undo toast's button.</extracomment>
        <translation>Undo (Ctrl+Z)</translation>
    </message>
    <message id="desk_delete_tooltip">
        <source>Delete (Del)</source>
        <extracomment>Tooltip of a row's delete button.</extracomment>
        <translation>Delete (Del)</translation>
    </message>
    <message id="desk_key_delete">
        <source>Delete</source>
        <extracomment>The Delete key's name.</extracomment>
        <translation>Delete</translation>
    </message>
    <message id="desk_keys_delete">
        <source>Delete the current row</source>
        <extracomment>Shortcuts overlay: Delete on a row.</extracomment>
        <translation>Delete the current row</translation>
    </message>
    <message id="desk_keys_undo">
        <source>Undo completing or deleting</source>
        <extracomment>Shortcuts overlay: Ctrl+Z.</extracomment>
        <translation>Undo completing or deleting</translation>
    </message>
    <message id="desk_upload_progress">
        <source>Uploading… %1%</source>
        <extracomment>A row's or the editor's upload. %1: percent done.</extracomment>
        <translation>Uploading… %1%</translation>
    </message>
    <message id="desk_upload_failed">
        <source>Upload failed, will retry</source>
        <extracomment>A row whose attachment upload failed and waits to be sent again.</extracomment>
        <translation>Upload failed, will retry</translation>
    </message>
    <message id="desk_tour_unsaved">
        <source>Ask Sam about the concert tickets</source>
        <extracomment>Tour: the text of a new reminder whose editor is closed unsaved.</extracomment>
        <translation>Ask Sam about the concert tickets</translation>
    </message>
    <message id="desk_unsaved_new_text">
        <source>If you discard it, what you wrote is lost.</source>
        <extracomment>Text of the question before the editor of a new reminder closes.</extracomment>
        <translation>If you discard it, what you wrote is lost.</translation>
    </message>
    <message id="desk_sync_done">
        <source>Up to date with the server</source>
        <extracomment>Toast: the listing asked for by Sync now has ended.</extracomment>
        <translation>Up to date with the server</translation>
    </message>
</context>
</TS>
