<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<!-- Every fixed text of the interface. Copy to tallyfox_LOCALE.ts, translate with Qt Linguist, and install what
     lrelease makes of it as share/tallyfox/translations/tallyfox_LOCALE.qm.
     Not here, because the program shows them as they are: sentences with a phone's name, a version or a time in
     them, and what the system says of login items and keychains. -->
<TS version="2.1" sourcelanguage="en_US">
<context>
    <name>Tallyfox</name>
    <message>
        <source>A new version of Tallyfox is ready to install.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>A paired iPhone can receive approval alerts from this Mac.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About Tallyfox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>About, updates and quitting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Accessibility</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Accessibility required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Active</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Alerts will resume automatically.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>All OK</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow Accessibility in System Settings. The pairing code appears after Tallyfox can detect Mac prompts.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow Accessibility to detect dialogs.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allow the required Mac permissions so tallies can be detected and delivered.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Allowed</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Answer this computer&apos;s approval dialogs from a paired phone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Approve Tallyfox in Login Items.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Can detect dialogs and press approved buttons.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Check for Updates...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Close</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connecting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Connecting to relay.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enable after-reboot startup.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Enabled</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Finish setup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Hide Code</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Inactive</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Install Update...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Licensed under the Apache License, Version 2.0. It comes without warranty of any kind.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Location</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Login Item</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mac setup is ready. Pair an iPhone to receive approval alerts.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Mac setup is ready. Reconnecting to check your saved iPhone pairing.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>More Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move Tallyfox to Applications before pairing your iPhone.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move app first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move app, then reopen.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to Applications</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Move to Applications first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Needs Approval</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Needs Setup</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Not Available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Off</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Login Items</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Settings</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open Tallyfox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open the iPhone app and scan this code.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Open the iPhone app, choose Pair Mac, and scan this code.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Opens automatically when you sign in.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pair Another iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pair an iPhone before pausing alerts.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pair an iPhone to receive alerts.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pair iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paired iPhones stop receiving approvals from this Mac at once. To pair one again, scan the new pairing code.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pairing code</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pairing is not configured</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pairing is not configured for this launch. Add pairing settings before packaging Tallyfox to show a QR code.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pairing settings are missing, so no QR code can be shown.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause Forever</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause Options</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause for 2 Hours</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause for 4 Hours</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause until Tomorrow</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Pause while handling prompts locally.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paused</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Paused until you resume.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Quit Tallyfox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Ready to scan</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Required</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Resume Now</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Run Tallyfox from Applications before enabling Mac permissions.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tallyfox</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tallyfox Menu</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tallyfox is connecting in the background.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Tallyfox is watching quietly and will notify your iPhone when this Mac needs attention.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>This program uses Qt, libsecret and libsystemd under the GNU Lesser General Public License, OpenSSL under the Apache License, Boost under the Boost Software License, ICU under the Unicode License, and fmt, JSON for Modern C++, the QR Code generator library and XCB under the MIT License.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turn on Accessibility first.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Turn on Accessibility on this Mac. Until then, paired iPhones will not receive dialogs.</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unavailable</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unpair</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unpair iPhone</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unpair iPhone?</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Unpairing...</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Update Available</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>Waiting</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>iPhone Pairing</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>iPhone Pairing Pending</source>
        <translation type="unfinished"></translation>
    </message>
    <message>
        <source>iPhone paired</source>
        <translation type="unfinished"></translation>
    </message>
</context>
</TS>
