<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1">
<context>
    <name>pellora::HelperMenu</name>
    <message>
        <source>Read Messages Now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Pellora for Messages…</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>pellora::HelperTray</name>
    <message>
        <source>Pellora for Messages</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>pellora::HelperView</name>
    <message>
        <source>Pellora for Messages</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Days read</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open at login</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pellora for Messages only reads new messages while it&apos;s open.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pellora for Messages keeps running in the menu bar when you close this window.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Your messages never leave this Mac. For the people already in Pellora, it writes a short summary of your last 30 days of texts, the day you last wrote, and any big news for you to add; only that reaches your other devices, through your iCloud. Group chats, numbers and people who aren&apos;t in Pellora are skipped and never saved.</source>
        <translation type="unfinished"></translation>
    </message>
</context>
<context>
    <name>pellora::HelperWindow</name>
    <message>
        <source>Pellora for Messages</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
