"""Drives Quorvel the way assistive technology does: through AT-SPI on the session bus."""

import time

import gi

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi


class NotThere(Exception):
    """Something that a person would wait for did not appear."""


def wait_for(what, condition, seconds=20.0):
    """Returns the first true result of `condition`; raises NotThere after `seconds`."""
    deadline = time.monotonic() + seconds
    while True:
        result = condition()
        if result:
            return result
        if time.monotonic() > deadline:
            raise NotThere(f"{what} did not appear within {seconds:g} s")
        time.sleep(0.05)


class Application:
    """The accessible tree of one running program."""

    def __init__(self, name):
        self.name = name

    def nodes(self, visible=True):
        """The controls in the order of the tree: those in sight, or those that are there at all."""
        desktop = Atspi.get_desktop(0)
        for index in range(desktop.get_child_count()):
            application = desktop.get_child_at_index(index)
            if application is not None and application.get_name() == self.name:
                # What this library remembers it brings up to date by an event loop only, which does not run here.
                application.set_cache_mask(Atspi.Cache.NONE)
                yield from self._below(application, visible)

    def _below(self, node, visible):
        try:
            for index in range(node.get_child_count()):
                child = node.get_child_at_index(index)
                if child is None:
                    continue
                if not visible or child.get_state_set().contains(Atspi.StateType.VISIBLE):
                    yield child
                yield from self._below(child, visible)
        except gi.repository.GLib.Error:
            # The control went away while it was looked at.
            return

    def find(self, name, role=None, visible=True):
        for node in self.nodes(visible):
            if node.get_name() == name and (role is None or node.get_role() == role):
                return node
        return None

    def wait(self, name, role=None, seconds=20.0):
        """Waits for a control; one that is scrolled out of sight comes into view by getting the keyboard."""

        def seek():
            node = self.find(name, role)
            if node is None:
                hidden = self.find(name, role, visible=False)
                if hidden is not None and hidden.get_state_set().contains(Atspi.StateType.FOCUSABLE):
                    hidden.get_component_iface().grab_focus()
            return node

        return wait_for(f'"{name}"', seek, seconds)

    def press(self, name, role=None, seconds=20.0):
        actions = self.wait(name, role, seconds).get_action_iface()
        names = [actions.get_action_name(index) for index in range(actions.get_n_actions())]
        if "Press" not in names:
            raise NotThere(f'"{name}" cannot be pressed, only {names}')
        actions.do_action(names.index("Press"))

    def click(self, name, role=None, seconds=20.0):
        """For controls of the toolkit's own that offer no action."""
        box = self.wait(name, role, seconds).get_component_iface().get_extents(Atspi.CoordType.SCREEN)
        Atspi.generate_mouse_event(box.x + box.width // 2, box.y + box.height // 2, "b1c")

    def enter(self, name, text, seconds=20.0):
        """Types into a box as a person does: this version of the toolkit offers no other way to change its text."""
        node = self.wait(name, Atspi.Role.TEXT, seconds)

        def is_focused():
            # A sheet that is just closing gives the keyboard back a moment later.
            node.get_component_iface().grab_focus()
            return node.get_state_set().contains(Atspi.StateType.FOCUSED)

        wait_for(f'the keyboard in "{name}"', is_focused)
        Atspi.generate_keyboard_event(0, text, Atspi.KeySynthType.STRING)
        wait_for(f'what was typed into "{name}"', lambda: node.get_text_iface().get_text(0, -1) == text)

    def names(self, role):
        return [node.get_name() for node in self.nodes() if node.get_role() == role]

    def description(self):
        return "\n".join(f"{node.get_role_name()} {node.get_name()!r}" for node in self.nodes())
