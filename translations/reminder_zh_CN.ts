<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="zh_CN" sourcelanguage="en">
<!-- Id-based catalogue of the reminder module: the code looks every text
     up by its id with qtTrId(). <source> is the English engineering text;
     <translation> is what users see. Placeholders (%1, %2, %3, %n) are
     described in each <extracomment> and in docs/translations.md. -->
<context>
    <name></name>
    <message id="reminder_repeat_not_repeating">
        <source>Does not repeat</source>
        <extracomment>Repeat option: the reminder happens once.</extracomment>
        <translation>不重复</translation>
    </message>
    <message id="reminder_repeat_every_day">
        <source>Every day</source>
        <extracomment>Repeat option.</extracomment>
        <translation>每天</translation>
    </message>
    <message id="reminder_repeat_every_select_week">
        <source>Every week on %1</source>
        <extracomment>Repeat option. %1: full weekday name ("Wednesday").</extracomment>
        <translation>每周%1</translation>
    </message>
    <message id="reminder_repeat_every_select_week_of_month">
        <source>Every month on the %1 %2</source>
        <extracomment>Repeat option. %1: week-of-month ordinal, already localised ("5th", "第5"); %2: full weekday name.</extracomment>
        <translation>每月%1个%2</translation>
    </message>
    <message id="reminder_repeat_every_month_by_yearly">
        <source>Every year on %1 %2</source>
        <extracomment>Repeat option. %1: short month name ("Jan", "1月"); %2: day of the month as a number.</extracomment>
        <translation>每年%1%2日</translation>
    </message>
    <message id="reminder_repeat_every_work_day">
        <source>Every weekday</source>
        <extracomment>Repeat option: working days only.</extracomment>
        <translation>每个工作日</translation>
    </message>
    <message id="msd_custom">
        <source>Custom</source>
        <extracomment>Repeat option that opens the custom repeat editor.</extracomment>
        <translation>自定义</translation>
    </message>
    <message id="repeat_day_of_month">
        <source>On the %1</source>
        <extracomment>Custom monthly repeat. %1: ordinal of the day of the month, already localised ("31st", "第31").</extracomment>
        <translation>%1天</translation>
    </message>
    <message id="repeat_week_of_month">
        <source>On the %1 %2</source>
        <extracomment>Custom monthly repeat. %1: week-of-month ordinal, already localised; %2: full weekday name.</extracomment>
        <translation>%1个%2</translation>
    </message>
    <message id="repeat_last_day_of_month">
        <source>On the %1 day from the end of the month</source>
        <extracomment>Custom monthly repeat. %1: ordinal counted from the end of the month, already localised ("1st" is the last day).</extracomment>
        <translation>倒数%1天</translation>
    </message>
    <message id="repeat_last_week_of_month">
        <source>On the %1 %2 from the end of the month</source>
        <extracomment>Custom monthly repeat. %1: week ordinal counted from the end of the month, already localised; %2: full weekday name.</extracomment>
        <translation>倒数%1个%2</translation>
    </message>
    <message id="reminder_interval_days">
        <source>Every %1 days</source>
        <extracomment>Custom repeat interval. %1: the interval, a plain number.</extracomment>
        <translation>每%1天</translation>
    </message>
    <message id="reminder_interval_weeks" numerus="yes">
        <source>Every %n weeks</source>
        <extracomment>Custom repeat interval. %n: the interval.</extracomment>
        <translation>
            <numerusform>每%n周</numerusform>
        </translation>
    </message>
    <message id="reminder_interval_months" numerus="yes">
        <source>Every %n months</source>
        <extracomment>Custom repeat interval. %n: the interval.</extracomment>
        <translation>
            <numerusform>每%n个月</numerusform>
        </translation>
    </message>
    <message id="reminder_repeat_day_tips">
        <source>Repeats every day.</source>
        <extracomment>Summary under the custom repeat editor.</extracomment>
        <translation>每天重复。</translation>
    </message>
    <message id="reminder_repeat_days_tips">
        <source>Repeats every %1 days.</source>
        <extracomment>Summary. %1: the interval, a plain number.</extracomment>
        <translation>每%1天重复。</translation>
    </message>
    <message id="reminder_repeat_week_tips">
        <source>Repeats every week on %1.</source>
        <extracomment>Summary. %1: comma-separated full weekday names, or the text of reminder_all_week.</extracomment>
        <translation>在每周的%1重复。</translation>
    </message>
    <message id="reminder_repeat_weeks_tips">
        <source>Repeats every %1 weeks on %2.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: comma-separated full weekday names, or the text of reminder_all_week.</extracomment>
        <translation>在每%1周的%2重复。</translation>
    </message>
    <message id="reminder_all_week">
        <source>every day of the week</source>
        <extracomment>Stands for the list of all seven weekdays in the weekly summaries.</extracomment>
        <translation>每一天</translation>
    </message>
    <message id="reminder_repeat_day_month_tips">
        <source>Repeats every month on the %1.</source>
        <extracomment>Summary. %1: ordinal of the day of the month, already localised.</extracomment>
        <translation>在每月的%1天重复。</translation>
    </message>
    <message id="reminder_repeat_day_months_tips">
        <source>Repeats every %1 months on the %2.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: ordinal of the day of the month, already localised.</extracomment>
        <translation>在每%1个月的%2天重复。</translation>
    </message>
    <message id="reminder_repeat_week_month_tips">
        <source>Repeats every month on the %1 %2.</source>
        <extracomment>Summary. %1: week-of-month ordinal, already localised; %2: full weekday name.</extracomment>
        <translation>在每月的%1个%2重复。</translation>
    </message>
    <message id="reminder_repeat_week_months_tips">
        <source>Repeats every %1 months on the %2 %3.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: week-of-month ordinal, already localised; %3: full weekday name.</extracomment>
        <translation>在每%1个月的%2个%3重复。</translation>
    </message>
    <message id="reminder_repeat_last_day_month_tips">
        <source>Repeats every month on the %1 day from the end of the month.</source>
        <extracomment>Summary. %1: ordinal counted from the end of the month, already localised.</extracomment>
        <translation>在每月的倒数%1天重复。</translation>
    </message>
    <message id="reminder_repeat_last_day_months_tips">
        <source>Repeats every %1 months on the %2 day from the end of the month.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: ordinal counted from the end of the month, already localised.</extracomment>
        <translation>在每%1个月的倒数%2天重复。</translation>
    </message>
    <message id="reminder_repeat_last_week_month_tips">
        <source>Repeats every month on the %1 %2 from the end of the month.</source>
        <extracomment>Summary. %1: week ordinal counted from the end of the month, already localised; %2: full weekday name.</extracomment>
        <translation>在每月的倒数%1个%2重复。</translation>
    </message>
    <message id="reminder_repeat_last_week_months_tips">
        <source>Repeats every %1 months on the %2 %3 from the end of the month.</source>
        <extracomment>Summary. %1: the interval, a plain number; %2: week ordinal counted from the end of the month, already localised; %3: full weekday name.</extracomment>
        <translation>在每%1个月的倒数%2个%3重复。</translation>
    </message>
    <message id="reminder_directory_send_disable">
        <source>Folders can't be attached to a reminder.</source>
        <extracomment>Error toast: the user tried to attach a folder to a reminder.</extracomment>
        <translation>提醒中不能添加文件夹。</translation>
    </message>
    <!-- The desktop client (client/): ids desk_*. -->
    <message id="desk_app_title">
        <source>Reminders</source>
        <extracomment>Window and tray title.</extracomment>
        <translation>提醒</translation>
    </message>
    <message id="desk_window_title">
        <source>Reminders — Device %1</source>
        <extracomment>Window title. %1: the device's number.</extracomment>
        <translation>提醒 — 设备 %1</translation>
    </message>
    <message id="desk_device_name">
        <source>Device %1</source>
        <extracomment>Chip naming the window's device. %1: its number.</extracomment>
        <translation>设备 %1</translation>
    </message>
    <message id="desk_search_placeholder">
        <source>Search reminders</source>
        <extracomment>Placeholder of the search field.</extracomment>
        <translation>搜索提醒</translation>
    </message>
    <message id="desk_select">
        <source>Select</source>
        <extracomment>Toolbar button: multi-selection mode.</extracomment>
        <translation>选择</translation>
    </message>
    <message id="desk_select_tooltip">
        <source>Select several reminders to delete them</source>
        <extracomment>Tooltip of the Select button.</extracomment>
        <translation>选择多个提醒以便删除</translation>
    </message>
    <message id="desk_sync_now">
        <source>Sync now</source>
        <extracomment>Toolbar button: list from the server again.</extracomment>
        <translation>立即同步</translation>
    </message>
    <message id="desk_sync_tooltip">
        <source>Fetch this device's reminders from the server again</source>
        <extracomment>Tooltip of Sync now.</extracomment>
        <translation>重新从服务器获取本设备的提醒</translation>
    </message>
    <message id="desk_quick_add_placeholder">
        <source>Add a reminder and press Enter</source>
        <extracomment>Placeholder of the quick-add field.</extracomment>
        <translation>输入提醒内容，按回车添加</translation>
    </message>
    <message id="desk_add">
        <source>Add</source>
        <extracomment>Button: add the typed text as a reminder.</extracomment>
        <translation>添加</translation>
    </message>
    <message id="desk_new_with_details">
        <source>New with details…</source>
        <extracomment>Button: open the full editor for a new reminder.</extracomment>
        <translation>详细新建…</translation>
    </message>
    <message id="desk_count_open" numerus="yes">
        <source>%n open</source>
        <extracomment>Count of open reminders. %n: the count.</extracomment>
        <translation>
            <numerusform>%n 项待办</numerusform>
        </translation>
    </message>
    <message id="desk_count_completed" numerus="yes">
        <source>%n completed</source>
        <extracomment>Count of completed reminders. %n: the count.</extracomment>
        <translation>
            <numerusform>%n 项已完成</numerusform>
        </translation>
    </message>
    <message id="desk_search_results" numerus="yes">
        <source>%n results</source>
        <extracomment>Count of search results. %n: the count.</extracomment>
        <translation>
            <numerusform>%n 条结果</numerusform>
        </translation>
    </message>
    <message id="desk_overdue_badge" numerus="yes">
        <source>%n overdue</source>
        <extracomment>Badge: open reminders whose time has passed. %n: the count.</extracomment>
        <translation>
            <numerusform>%n 项已逾期</numerusform>
        </translation>
    </message>
    <message id="desk_drag_hint">
        <source>Drag a row by its handle to reorder</source>
        <extracomment>Hint above the list.</extracomment>
        <translation>拖动左侧把手调整顺序</translation>
    </message>
    <message id="desk_completed_show" numerus="yes">
        <source>Show %n completed</source>
        <extracomment>Toggle that shows the completed section. %n: its size.</extracomment>
        <translation>
            <numerusform>显示 %n 项已完成</numerusform>
        </translation>
    </message>
    <message id="desk_completed_hide" numerus="yes">
        <source>Hide %n completed</source>
        <extracomment>Toggle that hides the completed section. %n: its size.</extracomment>
        <translation>
            <numerusform>隐藏 %n 项已完成</numerusform>
        </translation>
    </message>
    <message id="desk_open_heading">
        <source>Open</source>
        <extracomment>Heading of the open section below the completed one.</extracomment>
        <translation>待办</translation>
    </message>
    <message id="desk_search_empty">
        <source>Nothing matches your search</source>
        <extracomment>The search found nothing.</extracomment>
        <translation>没有匹配的提醒</translation>
    </message>
    <message id="desk_list_empty">
        <source>No reminders yet</source>
        <extracomment>The list is empty.</extracomment>
        <translation>还没有提醒</translation>
    </message>
    <message id="desk_list_empty_hint">
        <source>Add one above, or from a chat message on the right.</source>
        <extracomment>Below desk_list_empty.</extracomment>
        <translation>在上方添加，或从右侧的聊天消息创建。</translation>
    </message>
    <message id="desk_list_loading">
        <source>Loading your reminders…</source>
        <extracomment>In place of the list while the stored reminders are read at start.</extracomment>
        <translation>正在加载提醒…</translation>
    </message>
    <message id="desk_quick_add_waiting">
        <source>Added as soon as your reminders are loaded</source>
        <extracomment>Under the quick add field: Enter (or Add) was pressed while the stored reminders were still being read.</extracomment>
        <translation>提醒加载完成后立即添加</translation>
    </message>
    <message id="desk_complete_tooltip">
        <source>Mark as done (Space)</source>
        <extracomment>Tooltip of a row's round check.</extracomment>
        <translation>标记为完成 (Space)</translation>
    </message>
    <message id="desk_reopen_tooltip">
        <source>Mark as not done (Space)</source>
        <extracomment>Tooltip of a completed row's check.</extracomment>
        <translation>标记为未完成 (Space)</translation>
    </message>
    <message id="desk_row_snoozed_until">
        <source>Snoozed until %1</source>
        <extracomment>A snoozed row's time: when it fires again. %1: the time ("Today 09:10").</extracomment>
        <translation>已推迟到 %1</translation>
    </message>
    <message id="desk_row_overdue">
        <source>Overdue · %1</source>
        <extracomment>A row's time once it has passed. %1: the time ("Today 09:00").</extracomment>
        <translation>已逾期 · %1</translation>
    </message>
    <message id="desk_row_snooze" numerus="yes">
        <source>Snoozes every %n minutes</source>
        <extracomment>A row's snooze period. %n: minutes.</extracomment>
        <translation>
            <numerusform>每 %n 分钟再次提醒</numerusform>
        </translation>
    </message>
    <message id="desk_select_all">
        <source>Select all</source>
        <extracomment>Check box of the selection bar.</extracomment>
        <translation>全选</translation>
    </message>
    <message id="desk_selected_count" numerus="yes">
        <source>%n selected</source>
        <extracomment>Selection bar. %n: selected reminders.</extracomment>
        <translation>
            <numerusform>已选 %n 项</numerusform>
        </translation>
    </message>
    <message id="desk_select_completed">
        <source>Select completed</source>
        <extracomment>Selection bar button.</extracomment>
        <translation>选择已完成</translation>
    </message>
    <message id="desk_delete_selected">
        <source>Delete selected</source>
        <extracomment>Selection bar button.</extracomment>
        <translation>删除所选</translation>
    </message>
    <message id="desk_delete_completed">
        <source>Delete all completed</source>
        <extracomment>Selection bar button.</extracomment>
        <translation>删除全部已完成</translation>
    </message>
    <message id="desk_done">
        <source>Done</source>
        <extracomment>Button that ends a step.</extracomment>
        <translation>完成</translation>
    </message>
    <message id="desk_confirm_title">
        <source>Delete reminders</source>
        <extracomment>Title of the delete confirmation.</extracomment>
        <translation>删除提醒</translation>
    </message>
    <message id="desk_confirm_delete_selected" numerus="yes">
        <source>Delete the %n selected reminders?</source>
        <extracomment>Delete confirmation. %n: how many.</extracomment>
        <translation>
            <numerusform>删除所选的 %n 条提醒？</numerusform>
        </translation>
    </message>
    <message id="desk_confirm_delete_completed" numerus="yes">
        <source>Delete all %n completed reminders?</source>
        <extracomment>Delete confirmation. %n: how many.</extracomment>
        <translation>
            <numerusform>删除全部 %n 条已完成的提醒？</numerusform>
        </translation>
    </message>
    <message id="desk_cancel">
        <source>Cancel</source>
        <extracomment>Button.</extracomment>
        <translation>取消</translation>
    </message>
    <message id="desk_delete">
        <source>Delete</source>
        <extracomment>Button.</extracomment>
        <translation>删除</translation>
    </message>
    <message id="desk_editor_new_title">
        <source>New reminder</source>
        <extracomment>Editor title for a new reminder.</extracomment>
        <translation>新建提醒</translation>
    </message>
    <message id="desk_editor_edit_title">
        <source>Edit reminder</source>
        <extracomment>Editor title for an existing reminder.</extracomment>
        <translation>编辑提醒</translation>
    </message>
    <message id="desk_editor_quote_from">
        <source>From %1</source>
        <extracomment>Above the quoted chat message. %1: its sender.</extracomment>
        <translation>来自 %1</translation>
    </message>
    <message id="desk_editor_text_placeholder">
        <source>What do you want to be reminded of?</source>
        <extracomment>Placeholder of the reminder's text.</extracomment>
        <translation>想让我提醒你什么？</translation>
    </message>
    <message id="desk_editor_remove_attachment">
        <source>Remove</source>
        <extracomment>Button: remove the attached file.</extracomment>
        <translation>移除</translation>
    </message>
    <message id="desk_editor_attach">
        <source>Attach a file</source>
        <extracomment>Button: attach a file.</extracomment>
        <translation>添加附件</translation>
    </message>
    <message id="desk_editor_attach_title">
        <source>Choose a file to attach</source>
        <extracomment>Title of the file chooser.</extracomment>
        <translation>选择要添加的文件</translation>
    </message>
    <message id="desk_editor_remind_me">
        <source>Remind me</source>
        <extracomment>Section: the reminder's time.</extracomment>
        <translation>提醒我</translation>
    </message>
    <message id="desk_editor_no_time">
        <source>No time set: the reminder stays in your list as a note.</source>
        <extracomment>Shown while no time is set.</extracomment>
        <translation>未设置时间：提醒将作为备忘留在列表中。</translation>
    </message>
    <message id="desk_editor_repeat">
        <source>Repeat</source>
        <extracomment>Row that opens the repeat page.</extracomment>
        <translation>重复</translation>
    </message>
    <message id="desk_editor_no_repeat">
        <source>Does not repeat</source>
        <extracomment>The repeat row when there is no rule.</extracomment>
        <translation>不重复</translation>
    </message>
    <message id="desk_save">
        <source>Save</source>
        <extracomment>Button.</extracomment>
        <translation>保存</translation>
    </message>
    <message id="desk_repeat_words_detail">
        <source>%1 · %2</source>
        <extracomment>A rule and its days. %1: the rule ("Every week"); %2: its days or monthly variant ("Mon, Wed").</extracomment>
        <translation>%1 · %2</translation>
    </message>
    <message id="desk_list_separator">
        <source>, </source>
        <extracomment>Between the days of a list ("Mon, Wed").</extracomment>
        <translation>、</translation>
    </message>
    <message id="desk_repeat_title">
        <source>Repeat</source>
        <extracomment>Title of the repeat page.</extracomment>
        <translation>重复</translation>
    </message>
    <message id="desk_repeat_custom_heading">
        <source>Custom rule</source>
        <extracomment>Repeat page: the custom rule's section.</extracomment>
        <translation>自定义规则</translation>
    </message>
    <message id="desk_repeat_every">
        <source>Every</source>
        <extracomment>Before the interval ("Every [2] [weeks]").</extracomment>
        <translation>每</translation>
    </message>
    <message id="desk_unit_days">
        <source>days</source>
        <extracomment>Unit after the interval.</extracomment>
        <translation>天</translation>
    </message>
    <message id="desk_unit_weeks">
        <source>weeks</source>
        <extracomment>Unit after the interval.</extracomment>
        <translation>周</translation>
    </message>
    <message id="desk_unit_months">
        <source>months</source>
        <extracomment>Unit after the interval.</extracomment>
        <translation>个月</translation>
    </message>
    <message id="desk_repeat_ends">
        <source>Ends</source>
        <extracomment>Repeat page: when the series ends.</extracomment>
        <translation>结束</translation>
    </message>
    <message id="desk_repeat_end_never">
        <source>Never</source>
        <extracomment>End choice.</extracomment>
        <translation>永不结束</translation>
    </message>
    <message id="desk_repeat_end_on">
        <source>On</source>
        <extracomment>End choice, followed by a date.</extracomment>
        <translation>截止于</translation>
    </message>
    <message id="desk_repeat_end_after">
        <source>After</source>
        <extracomment>End choice, followed by a number and desk_repeat_times.</extracomment>
        <translation>重复</translation>
    </message>
    <message id="desk_repeat_times" numerus="yes">
        <source>times</source>
        <extracomment>After the repeat count's number. %n: the count (not shown).</extracomment>
        <translation>
            <numerusform>次后结束</numerusform>
        </translation>
    </message>
    <message id="desk_repeat_snooze">
        <source>Snooze</source>
        <extracomment>Repeat page: the snooze period.</extracomment>
        <translation>稍后提醒</translation>
    </message>
    <message id="desk_snooze_off">
        <source>Off</source>
        <extracomment>Snooze choice: none.</extracomment>
        <translation>关闭</translation>
    </message>
    <message id="desk_snooze_every" numerus="yes">
        <source>Every %n minutes</source>
        <extracomment>Snooze choice. %n: minutes.</extracomment>
        <translation>
            <numerusform>每 %n 分钟</numerusform>
        </translation>
    </message>
    <message id="desk_repeat_hint">
        <source>Pick a preset, or Custom to build your own rule.</source>
        <extracomment>Footer of the repeat page.</extracomment>
        <translation>选择一个预设，或选择“自定义”设置自己的规则。</translation>
    </message>
    <message id="desk_chat_title">
        <source>Chat</source>
        <extracomment>Title of the chat pane.</extracomment>
        <translation>聊天</translation>
    </message>
    <message id="desk_chat_hint">
        <source>Turn any message into a reminder.</source>
        <extracomment>Below the chat title.</extracomment>
        <translation>任何消息都可以变成提醒。</translation>
    </message>
    <message id="desk_chat_contact_card">
        <source>Contact card</source>
        <extracomment>Label of a contact card message.</extracomment>
        <translation>名片</translation>
    </message>
    <message id="desk_chat_poll">
        <source>Poll</source>
        <extracomment>Label of a poll message.</extracomment>
        <translation>投票</translation>
    </message>
    <message id="desk_chat_remind_me">
        <source>Remind me about this</source>
        <extracomment>Button under a chat message.</extracomment>
        <translation>提醒我这条消息</translation>
    </message>
    <message id="desk_banner_title">
        <source>Reminder · %1</source>
        <extracomment>Banner of a fired reminder. %1: its time ("Today 09:45").</extracomment>
        <translation>提醒 · %1</translation>
    </message>
    <message id="desk_banner_snooze">
        <source>Snooze 10 min</source>
        <extracomment>Banner button: remind again in 10 minutes.</extracomment>
        <translation>10 分钟后提醒</translation>
    </message>
    <message id="desk_banner_tomorrow">
        <source>Tomorrow</source>
        <extracomment>Banner button: remind again tomorrow morning.</extracomment>
        <translation>明天提醒</translation>
    </message>
    <message id="desk_banner_close">
        <source>Close</source>
        <extracomment>Banner button: stop this occurrence's snoozing.</extracomment>
        <translation>关闭</translation>
    </message>
    <message id="desk_banner_done">
        <source>Done</source>
        <extracomment>Banner button: complete the reminder.</extracomment>
        <translation>完成</translation>
    </message>
    <message id="desk_time_today">
        <source>Today %1</source>
        <extracomment>%1: a time of day ("14:30").</extracomment>
        <translation>今天 %1</translation>
    </message>
    <message id="desk_time_tomorrow">
        <source>Tomorrow %1</source>
        <extracomment>%1: a time of day.</extracomment>
        <translation>明天 %1</translation>
    </message>
    <message id="desk_time_yesterday">
        <source>Yesterday %1</source>
        <extracomment>%1: a time of day.</extracomment>
        <translation>昨天 %1</translation>
    </message>
    <message id="desk_time_on_date">
        <source>%1 %2</source>
        <extracomment>%1: a date (desk_date_format_short or _long); %2: a time of day.</extracomment>
        <translation>%1 %2</translation>
    </message>
    <message id="desk_date_format_short">
        <source>ddd d MMM</source>
        <extracomment>QLocale date format for dates of this year (d, dd, ddd, M, MMM, yyyy...).</extracomment>
        <translation>M月d日 ddd</translation>
    </message>
    <message id="desk_date_format_long">
        <source>ddd d MMM yyyy</source>
        <extracomment>QLocale date format with the year.</extracomment>
        <translation>yyyy年M月d日 ddd</translation>
    </message>
    <message id="desk_month_format">
        <source>MMMM yyyy</source>
        <extracomment>QLocale format of the calendar's month title.</extracomment>
        <translation>yyyy年M月</translation>
    </message>
    <message id="desk_quick_in_hour">
        <source>In an hour</source>
        <extracomment>Quick time choice.</extracomment>
        <translation>一小时后</translation>
    </message>
    <message id="desk_quick_this_evening">
        <source>This evening</source>
        <extracomment>Quick time choice: today 18:00.</extracomment>
        <translation>今晚</translation>
    </message>
    <message id="desk_quick_tomorrow">
        <source>Tomorrow morning</source>
        <extracomment>Quick time choice: tomorrow 09:00.</extracomment>
        <translation>明天上午</translation>
    </message>
    <message id="desk_quick_next_week">
        <source>Next Monday</source>
        <extracomment>Quick time choice: next Monday 09:00.</extracomment>
        <translation>下周一</translation>
    </message>
    <message id="desk_quote_card">
        <source>Contact card: %1</source>
        <extracomment>Quoted contact card. %1: the contact's name.</extracomment>
        <translation>名片：%1</translation>
    </message>
    <message id="desk_quote_poll">
        <source>Poll: %1</source>
        <extracomment>Quoted poll. %1: its title.</extracomment>
        <translation>投票：%1</translation>
    </message>
    <message id="desk_unknown_sender">
        <source>Someone</source>
        <extracomment>Sender of a quoted message nobody knows.</extracomment>
        <translation>某人</translation>
    </message>
    <message id="desk_attach_unreadable">
        <source>This file can't be attached: the file cannot be read.</source>
        <extracomment>Toast: the chosen file is gone, or cannot be read.</extracomment>
        <translation>无法添加此文件：无法读取该文件。</translation>
    </message>
    <message id="desk_attach_empty">
        <source>This file can't be attached: the file is empty.</source>
        <extracomment>Toast: the chosen file has no bytes.</extracomment>
        <translation>无法添加此文件：文件是空的。</translation>
    </message>
    <message id="desk_attach_not_image">
        <source>This picture can't be attached: it cannot be read as an image.</source>
        <extracomment>Toast: the chosen picture is not an image that can be read.</extracomment>
        <translation>无法添加此图片：无法作为图片读取。</translation>
    </message>
    <message id="desk_attach_too_large">
        <source>This file can't be attached: it is larger than 2 GB.</source>
        <extracomment>Toast: the chosen file is over the size limit.</extracomment>
        <translation>无法添加此文件：文件大于 2 GB。</translation>
    </message>
    <message id="desk_keys_title">
        <source>Keyboard shortcuts</source>
        <extracomment>Title of the shortcuts overlay.</extracomment>
        <translation>键盘快捷键</translation>
    </message>
    <message id="desk_keys_new">
        <source>New reminder with details</source>
        <extracomment>Shortcuts overlay: what Ctrl+N does.</extracomment>
        <translation>新建提醒（详细）</translation>
    </message>
    <message id="desk_keys_search">
        <source>Search</source>
        <extracomment>Shortcuts overlay: what Ctrl+F does.</extracomment>
        <translation>搜索</translation>
    </message>
    <message id="desk_keys_move">
        <source>Move through the list</source>
        <extracomment>Shortcuts overlay: the arrow keys.</extracomment>
        <translation>在列表中移动</translation>
    </message>
    <message id="desk_keys_open">
        <source>Open the reminder</source>
        <extracomment>Shortcuts overlay: Enter on a row.</extracomment>
        <translation>打开提醒</translation>
    </message>
    <message id="desk_keys_complete">
        <source>Complete or reopen the reminder</source>
        <extracomment>Shortcuts overlay: Space on a row.</extracomment>
        <translation>完成或重新打开提醒</translation>
    </message>
    <message id="desk_keys_save">
        <source>Save the open reminder</source>
        <extracomment>Shortcuts overlay: Ctrl+Enter in the editor.</extracomment>
        <translation>保存正在编辑的提醒</translation>
    </message>
    <message id="desk_keys_cancel">
        <source>Close the editor (asking first if you changed something) or this list</source>
        <extracomment>Shortcuts overlay: Esc.</extracomment>
        <translation>关闭编辑器（有更改时先询问）或本列表</translation>
    </message>
    <message id="desk_keys_tab">
        <source>Next control</source>
        <extracomment>Shortcuts overlay: Tab.</extracomment>
        <translation>下一个控件</translation>
    </message>
    <message id="desk_keys_help">
        <source>Show these shortcuts</source>
        <extracomment>Shortcuts overlay: F1.</extracomment>
        <translation>显示这些快捷键</translation>
    </message>
    <message id="desk_key_enter">
        <source>Enter</source>
        <extracomment>The Enter key's name.</extracomment>
        <translation>回车</translation>
    </message>
    <message id="desk_key_space">
        <source>Space</source>
        <extracomment>The space bar's name.</extracomment>
        <translation>空格</translation>
    </message>
    <message id="desk_new_tooltip">
        <source>New reminder with details (Ctrl+N)</source>
        <extracomment>Tooltip of the New with details button.</extracomment>
        <translation>新建提醒（Ctrl+N）</translation>
    </message>
    <message id="desk_search_tooltip">
        <source>Search (Ctrl+F)</source>
        <extracomment>Tooltip of the search field.</extracomment>
        <translation>搜索（Ctrl+F）</translation>
    </message>
    <message id="desk_toast_attach_failed">
        <source>This file can't be attached (error %1).</source>
        <extracomment>Toast. %1: the media parser's error code.</extracomment>
        <translation>无法添加此文件（错误 %1）。</translation>
    </message>
    <message id="desk_tray_show">
        <source>Show reminders</source>
        <extracomment>Tray menu.</extracomment>
        <translation>显示提醒</translation>
    </message>
    <message id="desk_tray_quit">
        <source>Quit</source>
        <extracomment>Tray menu.</extracomment>
        <translation>退出</translation>
    </message>
    <message id="desk_tray_message_title">
        <source>Reminder on device %1</source>
        <extracomment>Desktop notification title. %1: the device's number.</extracomment>
        <translation>设备 %1 上的提醒</translation>
    </message>
    <message id="desk_sample_text">
        <source>Can you send me the slides before Friday's review?</source>
        <extracomment>Sample chat: a text message.</extracomment>
        <translation>周五评审前能把幻灯片发给我吗？</translation>
    </message>
    <message id="desk_sample_file_name">
        <source>Quarterly report.pdf</source>
        <extracomment>Sample chat: name of a shared file.</extracomment>
        <translation>季度报告.pdf</translation>
    </message>
    <message id="desk_sample_card_name">
        <source>Dr. Chen (dentist)</source>
        <extracomment>Sample chat: a shared contact.</extracomment>
        <translation>陈医生（牙科）</translation>
    </message>
    <message id="desk_sample_poll_title">
        <source>Team lunch on Thursday: where shall we go?</source>
        <extracomment>Sample chat: a poll's question.</extracomment>
        <translation>周四团队午餐去哪儿？</translation>
    </message>
    <message id="desk_sample_poll_option_1">
        <source>Noodle bar</source>
        <extracomment>Sample poll option.</extracomment>
        <translation>面馆</translation>
    </message>
    <message id="desk_sample_poll_option_2">
        <source>Pizza place</source>
        <extracomment>Sample poll option.</extracomment>
        <translation>披萨店</translation>
    </message>
    <message id="desk_sample_poll_option_3">
        <source>Salad bar</source>
        <extracomment>Sample poll option.</extracomment>
        <translation>沙拉店</translation>
    </message>
    <message id="desk_tour_card">
        <source>Send Mia's birthday card</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>给米娅寄生日贺卡</translation>
    </message>
    <message id="desk_tour_dentist">
        <source>Book a dentist appointment</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>预约牙医</translation>
    </message>
    <message id="desk_tour_library">
        <source>Return the library books</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>归还图书馆的书</translation>
    </message>
    <message id="desk_tour_grandma">
        <source>Call Grandma</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>给奶奶打电话</translation>
    </message>
    <message id="desk_tour_bill">
        <source>Pay the electricity bill</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>缴电费</translation>
    </message>
    <message id="desk_tour_passport">
        <source>Renew the passport</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>续签护照</translation>
    </message>
    <message id="desk_tour_photos">
        <source>Print the holiday photos</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>冲印假期照片</translation>
    </message>
    <message id="desk_tour_report">
        <source>Review the quarterly report</source>
        <extracomment>Tour: a sample reminder's text; contains desk_tour_search_keyword.</extracomment>
        <translation>审阅季度报告</translation>
    </message>
    <message id="desk_tour_plants">
        <source>Water the plants</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>给植物浇水</translation>
    </message>
    <message id="desk_tour_standup">
        <source>Team stand-up</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>团队站会</translation>
    </message>
    <message id="desk_tour_parcel">
        <source>Pick up the parcel</source>
        <extracomment>Tour: a sample reminder's text.</extracomment>
        <translation>取快递</translation>
    </message>
    <message id="desk_tour_search_keyword">
        <source>report</source>
        <extracomment>Tour: the word searched for; must occur in desk_tour_report.</extracomment>
        <translation>报告</translation>
    </message>
    <message id="desk_cli_description">
        <source>The desktop client of the reminder module.</source>
        <extracomment>Command line help.</extracomment>
        <translation>提醒模块的桌面客户端。</translation>
    </message>
    <message id="desk_cli_devices">
        <source>Number of devices of the account to show: 1 or 2.</source>
        <extracomment>Command line help of --devices.</extracomment>
        <translation>显示该账号的设备数量：1 或 2。</translation>
    </message>
    <message id="desk_cli_data">
        <source>Data directory (server database, file store, one folder per device).</source>
        <extracomment>Command line help of --data.</extracomment>
        <translation>数据目录（服务器数据库、文件存储、每台设备一个文件夹）。</translation>
    </message>
    <message id="desk_cli_language">
        <source>Interface language: en or zh_CN.</source>
        <extracomment>Command line help of --language.</extracomment>
        <translation>界面语言：en 或 zh_CN。</translation>
    </message>
    <message id="desk_cli_tour">
        <source>Run the scripted tour and write its screenshots to DIR.</source>
        <extracomment>Command line help of --tour.</extracomment>
        <translation>运行脚本导览，并把截图写入 DIR。</translation>
    </message>
    <message id="desk_cli_quit_after_list">
        <source>Quit once every device has listed its reminders.</source>
        <extracomment>Command line help of --quit-after-list.</extracomment>
        <translation>每台设备都列出提醒后退出。</translation>
    </message>
    <message id="desk_cli_bad_devices">
        <source>--devices must be 1 or 2.</source>
        <extracomment>Command line error.</extracomment>
        <translation>--devices 必须是 1 或 2。</translation>
    </message>
    <message id="desk_cli_bad_language">
        <source>Unknown language: %1 (use en or zh_CN).</source>
        <extracomment>Command line error. %1: the language given.</extracomment>
        <translation>未知语言：%1（请使用 en 或 zh_CN）。</translation>
    </message>
    <message id="desk_cli_qml_failed">
        <source>The interface could not be loaded.</source>
        <extracomment>Error: the QML interface did not load.</extracomment>
        <translation>无法加载界面。</translation>
    </message>
    <message id="desk_editor_close_tooltip">
        <source>Close (Esc)</source>
        <extracomment>Tooltip of the editor's close button.</extracomment>
        <translation>关闭 (Esc)</translation>
    </message>
    <message id="desk_save_tooltip">
        <source>Save (Ctrl+Enter)</source>
        <extracomment>Tooltip of the editor's Save button.</extracomment>
        <translation>保存 (Ctrl+Enter)</translation>
    </message>
    <message id="desk_discard">
        <source>Discard</source>
        <extracomment>Button: throw the unsaved changes away.</extracomment>
        <translation>放弃</translation>
    </message>
    <message id="desk_unsaved_new_title">
        <source>Save this new reminder?</source>
        <extracomment>Question before an edit of a new reminder closes.</extracomment>
        <translation>保存这条新提醒吗？</translation>
    </message>
    <message id="desk_unsaved_edit_title">
        <source>Save your changes?</source>
        <extracomment>Question before an edit with changes closes.</extracomment>
        <translation>保存更改吗？</translation>
    </message>
    <message id="desk_unsaved_text">
        <source>If you discard them, your changes are lost.</source>
        <extracomment>Text of the question before an edit with changes closes.</extracomment>
        <translation>如果放弃，所做的更改将会丢失。</translation>
    </message>
    <message id="desk_unsaved_cannot_save">
        <source>There is nothing to remind of yet, so this can't be saved. Discard it, or cancel to go on editing.</source>
        <extracomment>Text of the question when the edit cannot be saved (nothing to remind of).</extracomment>
        <translation>还没有提醒内容，因此无法保存。可以放弃，或取消以继续编辑。</translation>
    </message>
    <message id="desk_draft_not_saved">
        <source>Your unsaved reminder could not be kept on disk.</source>
        <extracomment>Toast: the draft file could not be written.</extracomment>
        <translation>未保存的提醒无法保存到磁盘。</translation>
    </message>
    <message id="desk_draft_offer">
        <source>Unsaved reminder from last time: “%1”</source>
        <extracomment>Bar over the list at start. %1: the unsaved reminder's text.</extracomment>
        <translation>上次未保存的提醒：“%1”</translation>
    </message>
    <message id="desk_draft_offer_empty">
        <source>An unsaved reminder from last time</source>
        <extracomment>Bar over the list at start, for a draft without text.</extracomment>
        <translation>上次有一条未保存的提醒</translation>
    </message>
    <message id="desk_draft_continue">
        <source>Continue editing</source>
        <extracomment>Button of the draft bar: open the unsaved reminder.</extracomment>
        <translation>继续编辑</translation>
    </message>
    <message id="desk_undo_completed" numerus="yes">
        <source>%n reminders completed</source>
        <extracomment>Undo toast. %n: how many reminders were completed.</extracomment>
        <translation>
            <numerusform>已完成 %n 条提醒</numerusform>
        </translation>
    </message>
    <message id="desk_undo_deleted" numerus="yes">
        <source>%n reminders deleted</source>
        <extracomment>Undo toast. %n: how many reminders were deleted.</extracomment>
        <translation>
            <numerusform>已删除 %n 条提醒</numerusform>
        </translation>
    </message>
    <message id="desk_undo">
        <source>Undo</source>
        <extracomment>Button of the undo toast.</extracomment>
        <translation>撤销</translation>
    </message>
    <message id="desk_undo_tooltip">
        <source>Undo (Ctrl+Z)</source>
        <extracomment>Tooltip of the undo toast's button.</extracomment>
        <translation>撤销 (Ctrl+Z)</translation>
    </message>
    <message id="desk_delete_tooltip">
        <source>Delete (Del)</source>
        <extracomment>Tooltip of a row's delete button.</extracomment>
        <translation>删除 (Del)</translation>
    </message>
    <message id="desk_key_delete">
        <source>Delete</source>
        <extracomment>The Delete key's name.</extracomment>
        <translation>Delete</translation>
    </message>
    <message id="desk_keys_delete">
        <source>Delete the current row</source>
        <extracomment>Shortcuts overlay: Delete on a row.</extracomment>
        <translation>删除当前行</translation>
    </message>
    <message id="desk_keys_undo">
        <source>Undo completing or deleting</source>
        <extracomment>Shortcuts overlay: Ctrl+Z.</extracomment>
        <translation>撤销完成或删除</translation>
    </message>
    <message id="desk_upload_progress">
        <source>Uploading… %1%</source>
        <extracomment>A row's or the editor's upload. %1: percent done.</extracomment>
        <translation>正在上传… %1%</translation>
    </message>
    <message id="desk_upload_failed">
        <source>Upload failed, will retry</source>
        <extracomment>A row whose attachment upload failed and waits to be sent again.</extracomment>
        <translation>上传失败，将会重试</translation>
    </message>
    <message id="desk_tour_unsaved">
        <source>Ask Sam about the concert tickets</source>
        <extracomment>Tour: the text of a new reminder whose editor is closed unsaved.</extracomment>
        <translation>问问 Sam 音乐会门票的事</translation>
    </message>
    <message id="desk_unsaved_new_text">
        <source>If you discard it, what you wrote is lost.</source>
        <extracomment>Text of the question before the editor of a new reminder closes.</extracomment>
        <translation>如果放弃，所写的内容将会丢失。</translation>
    </message>
    <message id="desk_sync_done">
        <source>Up to date with the server</source>
        <extracomment>Toast: the listing asked for by Sync now has ended.</extracomment>
        <translation>已与服务器同步</translation>
    </message>
</context>
</TS>
