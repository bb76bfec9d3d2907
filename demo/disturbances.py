"""Dialogs between whose appearance and answer something happens."""

import dataclasses
import time

from report import Row
from stage import (Dialog, Failure, answer, answer_one_of, expect_exit, expect_open, frame_of, open_dialog, require,
                   says, start_program)

# A frame as the agent sees it and as the display tells it differ by a title bar at most.
_TITLE_BAR = 40
_APART = 250
_UNREPORTED_SECONDS = 4


def _question(text):
    return ["zenity", "--question", "--title", "Erase", "--text", text, "--ok-label", "Erase",
            "--cancel-label", "Not Now"]


def relay_restart(stage, name):
    """The relay dies while a dialog waits, and comes back: the phone gets the list again and the answer arrives."""
    dialog = open_dialog(stage, name, _question("Erase the old backup?"), "Erase the old backup")
    stage.relay.kill()
    phone_mark, restarted = stage.phone.mark(), time.monotonic()
    stage.relay.start()
    again = stage.phone.wait_for(lambda approval: approval["id"] == dialog.approval["id"], phone_mark)
    require(again, "the phone never saw it again")
    outcome = answer(stage, name, dialog, "Not Now")
    return Row(name, f"{dialog.seen()}, again {again[0] - restarted:.1f} s after the relay", "Not Now", outcome.pressed,
               "dialog gone", expect_exit(dialog.process, 1), dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def agent_restart(stage, name):
    """The agent ends and starts again while a dialog is open: the phone stays paired and can answer the same dialog."""
    dialog = open_dialog(stage, name, _question("Erase the mail archive?"), "Erase the mail archive")
    status = stage.agent.stop()
    require(status == 0, f"the agent ended with {status}")
    expect_open(stage, dialog.process, dialog.window)
    phone_mark, restarted = stage.phone.mark(), time.monotonic()
    stage.agent.start()
    # Only the new agent gives it another identifier; the relay may still hold the old list.
    again = stage.phone.wait_for(lambda approval: says("Erase the mail archive")(approval)
                                 and approval["id"] != dialog.approval["id"], phone_mark)
    require(again, "the phone never saw it again")
    outcome = answer(stage, name, dialog, "Erase", again[1])
    stage.agent.close_window()
    return Row(name, f"{dialog.seen()}, again {again[0] - restarted:.1f} s after the agent", "Erase", outcome.pressed,
               "dialog gone", expect_exit(dialog.process, 0), dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def moved(stage, name):
    """The dialog is dragged away after the phone saw it: the answer names the old place and still meets the dialog."""
    dialog = open_dialog(stage, name, _question("Erase the photo library?"), "Erase the photo library")
    before = stage.desktop.frame(dialog.window)
    after = stage.desktop.move(dialog.window, 60, 90)
    require(after, "it could not be moved")
    outcome = answer(stage, name, dialog, "Erase")
    return Row(name, dialog.seen(), "Erase", outcome.pressed, f"moved by {after.distance(before):.0f} px, then gone",
               expect_exit(dialog.process, 0), dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def covered(stage, name):
    """Another program's window lies over the whole dialog and has the keyboard: the dialog is answered all the same,
    and the other program gets no key and no click. Afterwards a key and a click prove that it would have told."""
    dialog = open_dialog(stage, name, _question("Erase the music folder?"), "Erase the music folder")
    place = stage.desktop.frame(dialog.window)
    geometry = f"{place.width + 160:.0f}x{place.height + 160:.0f}+{place.x - 80:.0f}+{max(place.y - 80, 20):.0f}"
    cover, window, _ = start_program(stage, f"{name}-cover", ["stdbuf", "-oL", "xev", "-name", "Cover", "-geometry",
                                                              geometry, "-event", "keyboard", "-event", "button"])
    require(stage.desktop.activate(window), "the covering program never got the keyboard")
    order = stage.desktop.stacking()
    require(stage.desktop.frame(window).holds(place) and order.index(window) > order.index(dialog.window),
            "the dialog is not covered")
    stage.desktop.screenshot(stage.output / f"{name}-covered.png")
    outcome = answer(stage, name, dialog, "Erase")
    ended = expect_exit(dialog.process, 0)
    touches = [line for _, line in cover.lines.since(0) if _is_touch(line)]
    require(not touches, f"the covering program was touched: {touches}")
    expect_open(stage, cover, window)
    _touch(stage, cover, window)
    return Row(name, dialog.seen(), "Erase", outcome.pressed, "under another window, then gone",
               f"{ended}; no key or click in the other program", dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def _is_touch(line):
    return line.startswith(("KeyPress", "KeyRelease", "ButtonPress", "ButtonRelease"))


def _touch(stage, program, window):
    """A key and a click of our own; the program has to tell of both."""
    require(stage.desktop.activate(window), "the covering program never got the keyboard back")
    frame = stage.desktop.frame(window)
    centre = (int(frame.x + frame.width / 2), int(frame.y + frame.height / 2))
    stage.desktop.act("key", "a", "mousemove", *centre, "click", 1)
    for event in ("KeyPress", "ButtonPress"):
        require(program.lines.wait(lambda line, event=event: line.startswith(event)), f"no {event} was ever recorded")


def suppressed(stage, name):
    """Muted by the phone, a dialog leaves the list and stays as it is; a later dialog's list does not hold it either.
    Unmuted, it comes back and can be answered."""
    dialog = open_dialog(stage, name, _question("Erase the browser history?"), "Erase the browser history")
    is_it = says("Erase the browser history")
    phone_mark = stage.phone.mark()
    muted = stage.phone.suppress(dialog.approval)
    require(muted, "the phone could not mute it")
    require(stage.phone.wait_for_list(lambda approvals: not any(map(is_it, approvals)), phone_mark),
            "it stayed on the phone")
    phone_mark = stage.phone.mark()
    other = open_dialog(stage, f"{name}-other", _question("Erase the download folder?"), "Erase the download folder")
    answer(stage, f"{name}-other", other, "Not Now")
    expect_exit(other.process, 1)
    require(not stage.phone.wait_for(is_it, phone_mark, timeout=0), "it came back while it was muted")
    expect_open(stage, dialog.process, dialog.window)
    phone_mark = stage.phone.mark()
    require(stage.phone.unsuppress(muted), "the phone could not unmute it")
    again = stage.phone.wait_for(is_it, phone_mark)
    require(again, "it never came back")
    outcome = answer(stage, name, dialog, "Erase", again[1])
    return Row(name, dialog.seen(), "muted, unmuted, then Erase", outcome.pressed, "open while muted, then gone",
               expect_exit(dialog.process, 0), dialog.show_to_phone_ms, outcome.answer_to_gone_ms)


def paused(stage, name):
    """While alerts are paused the phone's list is empty and stays so; resumed, it shows what is open."""
    first = open_dialog(stage, name, _question("Erase the print queue?"), "Erase the print queue")
    phone_mark = stage.phone.mark()
    _tell_agent(stage, "pause", "forever")
    try:
        return _answered_after_the_pause(stage, name, first, phone_mark)
    finally:
        stage.agent.command("resume")


def _answered_after_the_pause(stage, name, first, phone_mark):
    require(stage.phone.wait_for_list(lambda approvals: not approvals, phone_mark), "the list was not emptied")
    phone_mark = stage.phone.mark()
    process, window, shown = start_program(stage, f"{name}-second", _question("Erase the scan queue?"))
    require(not stage.phone.wait_for(lambda approval: True, phone_mark, timeout=_UNREPORTED_SECONDS),
            "the phone was told of a dialog during the pause")
    expect_open(stage, first.process, first.window)
    expect_open(stage, process, window)
    phone_mark = stage.phone.mark()
    _tell_agent(stage, "resume")
    seen = stage.phone.wait_for(says("Erase the scan queue"), phone_mark)
    again = stage.phone.wait_for(says("Erase the print queue"), phone_mark)
    require(seen and again, "the phone was not told of both dialogs after the pause")
    second = Dialog(process, window, seen[1], (seen[0] - shown) * 1000)
    outcomes = [answer(stage, f"{name}-second", second, "Not Now"), answer(stage, name, first, "Erase", again[1])]
    ended = f"{expect_exit(second.process, 1)} and {expect_exit(first.process, 0)}"
    return Row(name, f"nothing for {_UNREPORTED_SECONDS} s, then {second.seen()} and the earlier one",
               "Not Now and Erase, after the pause", outcomes[0].pressed, "both open while paused, then gone", ended,
               first.show_to_phone_ms, outcomes[0].answer_to_gone_ms)


def _tell_agent(stage, *words):
    status, said = stage.agent.command(*words)
    require(status == 0, f"tallyfox {' '.join(words)} exited with {status}: {said}")


def _two_alike(stage, name, text):
    """Two programs with the same dialog: the first at its place, and the second's process and window."""
    first = open_dialog(stage, name, _question(text), text)
    process, window, _ = start_program(stage, f"{name}-twin", _question(text))
    return first, process, window


def alike_apart(stage, name):
    """Two dialogs that differ in nothing but their place: each answer presses the one that it names."""
    text = "Erase one of two disks?"
    first, process, window = _two_alike(stage, name, text)
    place = stage.desktop.frame(first.window)
    phone_mark = stage.phone.mark()
    moved_to = stage.desktop.move(window, int(place.x), int(place.y) + _APART)
    require(moved_to and moved_to.distance(place) > _APART / 2, "the second could not be moved away")

    def is_second(approval):
        return says(text)(approval) and frame_of(approval).distance(moved_to) < _TITLE_BAR

    both = stage.phone.wait_for_list(lambda approvals: any(map(is_second, approvals)) and any(
        approval["id"] == first.approval["id"] for approval in approvals), phone_mark)
    require(both, "the phone never showed both")
    second = dataclasses.replace(first, process=process, window=window, approval=next(filter(is_second, both[1])))
    require(second.approval["suppressionID"] == first.approval["suppressionID"], "they are not alike to the agent")
    stage.desktop.screenshot(stage.output / f"{name}-both.png")
    outcomes = [answer(stage, f"{name}-second", second, "Erase")]
    ended = [expect_exit(second.process, 0)]
    expect_open(stage, first.process, first.window)
    outcomes.append(answer(stage, name, first, "Not Now"))
    ended.append(expect_exit(first.process, 1))
    return Row(name, f"twice {first.seen()}", "second: Erase, first: Not Now",
               ", ".join(outcome.pressed for outcome in outcomes), "each gone by its own answer", " and ".join(ended),
               first.show_to_phone_ms, outcomes[1].answer_to_gone_ms)


def alike_stacked(stage, name):
    """Two dialogs that differ in nothing at all are one entry; an answer closes one, and the other is asked anew."""
    text = "Erase both of two drafts?"
    first, process, window = _two_alike(stage, name, text)
    _lay_onto(stage, window, first.window)
    stage.desktop.screenshot(stage.output / f"{name}-both.png")
    twins = {first.window: first.process, window: process}

    phone_mark = stage.phone.mark()
    outcomes = [answer_one_of(stage, f"{name}-one", twins, "Erase", first.approval)]
    ended = [expect_exit(twins.pop(outcomes[0].window), 0)]
    (left, survivor), = twins.items()
    expect_open(stage, survivor, left)
    again = stage.phone.wait_for(lambda approval: says(text)(approval) and approval["id"] != first.approval["id"]
                                 and frame_of(approval) == frame_of(first.approval), phone_mark)
    require(again, "the phone was not asked again for the other one")
    outcomes.append(answer(stage, name, Dialog(survivor, left, again[1], first.show_to_phone_ms), "Not Now"))
    ended.append(expect_exit(survivor, 1))
    return Row(name, f"one entry for two: {first.seen()}; after the answer the other", "Erase, then Not Now",
               ", ".join(outcome.pressed for outcome in outcomes), "one gone by each answer", " and ".join(ended),
               first.show_to_phone_ms, outcomes[1].answer_to_gone_ms)


def _lay_onto(stage, window, other):
    """Moves a window until it lies exactly on the other; a window manager may count the borders in differently."""
    place = stage.desktop.frame(other)
    x, y = place.x, place.y
    for _ in range(5):
        now = stage.desktop.frame(window)
        if now == place:
            return
        stage.desktop.move(window, int(x), int(y), timeout=2)
        now = stage.desktop.frame(window)
        x, y = x + place.x - now.x, y + place.y - now.y
    raise Failure("the second could not be laid onto the first")


def nothing_left(stage, name):
    """Gone dialogs leave the phone's list after their time of grace, and no window is left behind."""
    mark = stage.phone.mark()
    if stage.phone.list() and not stage.phone.wait_for_list(lambda approvals: not approvals, mark):
        raise Failure(f"the phone still shows {[approval['messageLines'] for approval in stage.phone.list()]}")
    require(stage.desktop.windows() == stage.resident_windows, "a window was left behind")
    return Row(name, "an empty list", screen="no dialog left")
