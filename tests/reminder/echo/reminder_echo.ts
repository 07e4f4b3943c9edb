<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- A catalogue for tests: every text repeats its id and shows its
     placeholders, so a test sees which id was used with which arguments
     in which order. -->
<TS version="2.1" language="en">
<context>
    <name></name>
    <message id="reminder_repeat_not_repeating">
        <source>reminder_repeat_not_repeating</source>
        <translation>reminder_repeat_not_repeating</translation>
    </message>
    <message id="reminder_repeat_every_day">
        <source>reminder_repeat_every_day</source>
        <translation>reminder_repeat_every_day</translation>
    </message>
    <message id="reminder_repeat_every_select_week">
        <source>reminder_repeat_every_select_week(%1)</source>
        <translation>reminder_repeat_every_select_week(%1)</translation>
    </message>
    <message id="reminder_repeat_every_select_week_of_month">
        <source>reminder_repeat_every_select_week_of_month(%1,%2)</source>
        <translation>reminder_repeat_every_select_week_of_month(%1,%2)</translation>
    </message>
    <message id="reminder_repeat_every_month_by_yearly">
        <source>reminder_repeat_every_month_by_yearly(%1,%2)</source>
        <translation>reminder_repeat_every_month_by_yearly(%1,%2)</translation>
    </message>
    <message id="reminder_repeat_every_work_day">
        <source>reminder_repeat_every_work_day</source>
        <translation>reminder_repeat_every_work_day</translation>
    </message>
    <message id="msd_custom">
        <source>msd_custom</source>
        <translation>msd_custom</translation>
    </message>
    <message id="repeat_day_of_month">
        <source>repeat_day_of_month(%1)</source>
        <translation>repeat_day_of_month(%1)</translation>
    </message>
    <message id="repeat_week_of_month">
        <source>repeat_week_of_month(%1,%2)</source>
        <translation>repeat_week_of_month(%1,%2)</translation>
    </message>
    <message id="repeat_last_day_of_month">
        <source>repeat_last_day_of_month(%1)</source>
        <translation>repeat_last_day_of_month(%1)</translation>
    </message>
    <message id="repeat_last_week_of_month">
        <source>repeat_last_week_of_month(%1,%2)</source>
        <translation>repeat_last_week_of_month(%1,%2)</translation>
    </message>
    <message id="reminder_interval_days">
        <source>reminder_interval_days(%1)</source>
        <translation>reminder_interval_days(%1)</translation>
    </message>
    <message id="reminder_repeat_day_tips">
        <source>reminder_repeat_day_tips</source>
        <translation>reminder_repeat_day_tips</translation>
    </message>
    <message id="reminder_repeat_days_tips">
        <source>reminder_repeat_days_tips(%1)</source>
        <translation>reminder_repeat_days_tips(%1)</translation>
    </message>
    <message id="reminder_repeat_week_tips">
        <source>reminder_repeat_week_tips(%1)</source>
        <translation>reminder_repeat_week_tips(%1)</translation>
    </message>
    <message id="reminder_repeat_weeks_tips">
        <source>reminder_repeat_weeks_tips(%1,%2)</source>
        <translation>reminder_repeat_weeks_tips(%1,%2)</translation>
    </message>
    <message id="reminder_all_week">
        <source>reminder_all_week</source>
        <translation>reminder_all_week</translation>
    </message>
    <message id="reminder_repeat_day_month_tips">
        <source>reminder_repeat_day_month_tips(%1)</source>
        <translation>reminder_repeat_day_month_tips(%1)</translation>
    </message>
    <message id="reminder_repeat_day_months_tips">
        <source>reminder_repeat_day_months_tips(%1,%2)</source>
        <translation>reminder_repeat_day_months_tips(%1,%2)</translation>
    </message>
    <message id="reminder_repeat_week_month_tips">
        <source>reminder_repeat_week_month_tips(%1,%2)</source>
        <translation>reminder_repeat_week_month_tips(%1,%2)</translation>
    </message>
    <message id="reminder_repeat_week_months_tips">
        <source>reminder_repeat_week_months_tips(%1,%2,%3)</source>
        <translation>reminder_repeat_week_months_tips(%1,%2,%3)</translation>
    </message>
    <message id="reminder_repeat_last_day_month_tips">
        <source>reminder_repeat_last_day_month_tips(%1)</source>
        <translation>reminder_repeat_last_day_month_tips(%1)</translation>
    </message>
    <message id="reminder_repeat_last_day_months_tips">
        <source>reminder_repeat_last_day_months_tips(%1,%2)</source>
        <translation>reminder_repeat_last_day_months_tips(%1,%2)</translation>
    </message>
    <message id="reminder_repeat_last_week_month_tips">
        <source>reminder_repeat_last_week_month_tips(%1,%2)</source>
        <translation>reminder_repeat_last_week_month_tips(%1,%2)</translation>
    </message>
    <message id="reminder_repeat_last_week_months_tips">
        <source>reminder_repeat_last_week_months_tips(%1,%2,%3)</source>
        <translation>reminder_repeat_last_week_months_tips(%1,%2,%3)</translation>
    </message>
    <message id="reminder_directory_send_disable">
        <source>reminder_directory_send_disable</source>
        <translation>reminder_directory_send_disable</translation>
    </message>
    <message id="reminder_interval_weeks" numerus="yes">
        <source>reminder_interval_weeks[%n]</source>
        <translation>
            <numerusform>reminder_interval_weeks[one:%n]</numerusform>
            <numerusform>reminder_interval_weeks[other:%n]</numerusform>
        </translation>
    </message>
    <message id="reminder_interval_months" numerus="yes">
        <source>reminder_interval_months[%n]</source>
        <translation>
            <numerusform>reminder_interval_months[one:%n]</numerusform>
            <numerusform>reminder_interval_months[other:%n]</numerusform>
        </translation>
    </message>
</context>
</TS>
