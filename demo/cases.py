"""Dialogs of real applications, each answered as soon as the phone shows it."""

import os
import time

from report import Row
from stage import Failure, answer, expect_exit, expect_open, open_dialog, provoke_dialog, require, start_program


def _question_that_empties(stage, name, button, exit_status, deleted):
    """An application that asks by zenity and deletes a file when the answer is yes."""
    victim = stage.desktop.home / f"{name}.trash"
    victim.write_text("old drafts\n", encoding="utf-8")
    text = f"Are you sure you want to empty the trash ({name})?"
    application = ('zenity --question --title Trash --text "$1" --ok-label "Empty Trash" --cancel-label Cancel '
                   '&& rm -- "$2"')
    dialog = open_dialog(stage, name, ["sh", "-c", application, "trash", text, str(victim)], name)
    outcome = answer(stage, name, dialog, button)
    ended = expect_exit(dialog.process, exit_status)
    require(victim.exists() != deleted, "the file is not what the answer asked for")
    return Row(name, dialog.seen(), button, outcome.pressed, "dialog gone",
               f"{ended}, file {'deleted' if deleted else 'kept'}", dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def empty_trash(stage, name):
    return _question_that_empties(stage, name, "Empty Trash", 0, True)


def keep_trash(stage, name):
    return _question_that_empties(stage, name, "Cancel", 1, False)


def password(stage, name):
    dialog = open_dialog(stage, name, ["zenity", "--password", "--title", "Unlock"], "password")
    require(dialog.approval["requiresDirectAccess"], "it does not require direct access")
    refused = stage.phone.answer(dialog.approval, "OK")
    require(refused.status == "requires_direct_access", f"approving gave {refused.status!r} {refused.error}")
    require(refused.error == "This prompt requires direct Mac access.", f"refused with {refused.error!r}")
    decision = stage.agent.decision(refused.decision_id)
    require(decision == "requires direct access", f"the agent's log says {decision!r} of it")
    expect_open(stage, dialog.process, dialog.window)
    outcome = answer(stage, name, dialog, "Cancel")
    return Row(name, dialog.seen(), "OK refused, then Cancel", outcome.pressed, "open after OK, gone after Cancel",
               expect_exit(dialog.process, 1), dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def qt_message_box(stage, name):
    question = "Discard the changes to notes.txt?"
    program = str(stage.build / "demo/tallyfox-demo-message-box")
    dialog = open_dialog(stage, name, [program, question, "Discard", "Cancel"], "Discard the changes")
    outcome = answer(stage, name, dialog, "Discard")
    return Row(name, dialog.seen(), "Discard", outcome.pressed, "dialog gone", expect_exit(dialog.process, 0),
               dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def ordinary_window(stage, name):
    """An editor that shows a prompt's words is still an editor: nothing may reach the phone."""
    text = stage.desktop.home / "letter.txt"
    text.write_text("Are you sure? Delete everything permanently?\n", encoding="utf-8")
    phone_mark = stage.phone.mark()
    editor, window, _ = start_program(stage, name, ["mousepad", "--disable-server", str(text)])
    seen = stage.phone.wait_for(lambda approval: True, phone_mark, timeout=5)
    stage.desktop.screenshot(stage.output / f"{name}-before.png")
    if seen:
        raise Failure(f"it was reported as {seen[1]['windowTitle']!r}")
    expect_open(stage, editor, window)
    return Row(name, "an editor showing the words of a prompt", "nothing to answer", "not reported for 5 s",
               "window open", "untouched")


def _changed_editor(stage, name, text):
    """A text editor in which somebody has typed: the process, its window and the file."""
    file = stage.desktop.home / f"{name}.txt"
    file.write_text("first draft\n", encoding="utf-8")
    editor, window, _ = start_program(stage, name, ["mousepad", "--disable-server", str(file)])
    require(stage.desktop.activate(window), "the editor never got the keyboard")
    stage.desktop.act("type", text)
    require(stage.desktop.wait_for_title(window, lambda line: '"*' in line), "the editor never noticed the typing")
    return editor, window, file


def _close(stage, window):
    """As by the window's close button, through the window manager."""
    require(stage.desktop.activate(window), "the window never got the keyboard")
    stage.desktop.act("key", "alt+F4")


def discard_text(stage, name):
    """Closing an editor with unsaved text asks; called off first, then the text is given up."""
    editor, window, file = _changed_editor(stage, name, "second ")
    first = provoke_dialog(stage, name, editor, lambda: _close(stage, window), "save the changes")
    outcome = answer(stage, name, first, "Cancel")
    expect_open(stage, editor, window)
    again = provoke_dialog(stage, name, editor, lambda: _close(stage, window), "save the changes")
    second = answer(stage, name, again, "Don't Save")
    ended = expect_exit(editor, 0)
    require(window not in stage.desktop.windows(), "the editor's window is still there")
    require(file.read_text(encoding="utf-8") == "first draft\n", "the file was changed")
    return Row(name, first.seen(), "Cancel, then Don't Save", f"{outcome.pressed}, {second.pressed}",
               "editor open after Cancel, then gone", f"{ended}, file as before", first.show_to_phone_ms,
               second.answer_to_gone_ms)


def save_text(stage, name):
    editor, window, file = _changed_editor(stage, name, "second ")
    dialog = provoke_dialog(stage, name, editor, lambda: _close(stage, window), "save the changes")
    outcome = answer(stage, name, dialog, "Save")
    ended = expect_exit(editor, 0)
    require(window not in stage.desktop.windows(), "the editor's window is still there")
    require(file.read_text(encoding="utf-8") == "second first draft\n", "the file does not hold what was typed")
    return Row(name, dialog.seen(), "Save", outcome.pressed, "dialog and editor gone",
               f"{ended}, file has the new text", dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def _delete_in_file_manager(stage, name, button, deleted):
    """A file manager asks before it deletes; it is closed before the file is judged, so nothing is still pending."""
    folder = stage.desktop.home / name
    folder.mkdir()
    file = folder / "report.txt"
    file.write_text("figures\n", encoding="utf-8")
    # Programs of this toolkit's generation load their accessibility only when told to.
    manager, window, _ = start_program(stage, name, ["pcmanfm", "--new-win", str(folder)],
                                       GTK_MODULES="gail:atk-bridge")
    require(stage.desktop.activate(window), "the file manager never got the keyboard")
    dialog = provoke_dialog(stage, name, manager, lambda: _ask_to_delete(stage), "delete the file")
    outcome = answer(stage, name, dialog, button)
    if deleted:
        _wait_until_deleted(file)
    expect_open(stage, manager, window)
    _close(stage, window)
    ended = expect_exit(manager, 0)
    require(file.exists() != deleted, "the file is not what the answer asked for")
    return Row(name, dialog.seen(), button, outcome.pressed, "dialog gone, file manager open",
               f"{ended}, file {'deleted' if deleted else 'kept'}", dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def _ask_to_delete(stage):
    """Selects everything and asks to delete it, again while the folder is still being read and nothing was selected."""
    before, mark = stage.desktop.windows(), stage.desktop.mark()
    for _ in range(10):
        stage.desktop.act("key", "ctrl+a", "key", "shift+Delete")
        if stage.desktop.wait_for_new_window(before, mark, timeout=2):
            return


def _wait_until_deleted(file, timeout=20.0):
    deadline = time.monotonic() + timeout
    while os.path.lexists(file):
        require(time.monotonic() < deadline, "the file was not deleted")
        time.sleep(0.02)


def delete_file(stage, name):
    return _delete_in_file_manager(stage, name, "Yes", True)


def keep_file(stage, name):
    return _delete_in_file_manager(stage, name, "No", False)
