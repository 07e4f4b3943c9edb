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
</context>
</TS>
