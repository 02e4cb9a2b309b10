"""The program's own windows as a screen reader sees them, and the keys that a user presses in them."""

import gi

from . import desktop
from .waiting import WaitedInVain, wait_for

gi.require_version("Atspi", "2.0")
from gi.repository import Atspi, GLib  # noqa: E402

Atspi.set_timeout(15_000, 30_000)  # milliseconds; by itself it gives up after 0.8 s, which a busy machine needs


class Node:
    """A control of a window."""

    def __init__(self, accessible):
        self._it = accessible

    @property
    def role(self):
        return _ask(self._it.get_role_name, "")

    @property
    def name(self):
        return _ask(self._it.get_name, "")

    @property
    def description(self):
        return _ask(self._it.get_description, "")

    @property
    def text(self):
        """What an entry or a label holds."""

        def content():
            if "Text" not in self._it.get_interfaces():
                return self._it.get_name()
            return Atspi.Text.get_text(self._it, 0, Atspi.Text.get_character_count(self._it))

        return _ask(content, "")

    @property
    def value(self):
        """Of a slider or a progress bar."""
        return _ask(lambda: Atspi.Value.get_current_value(self._it), None)

    @property
    def place(self):
        """Left, top, width and height in pixels of the screen."""
        rectangle = Atspi.Component.get_extents(self._it, Atspi.CoordType.SCREEN)
        return rectangle.x, rectangle.y, rectangle.width, rectangle.height

    def has(self, state):
        """Whether it has a state of this name, such as "checked", "focused", "selected" or "showing"."""
        return _ask(lambda: self._it.get_state_set().contains(getattr(Atspi.StateType, state.upper())), False)

    @property
    def is_usable(self):
        """Whether it can be pressed now. The state "enabled" does not tell, so the description does."""
        return not self.description.lower().endswith("not available now")

    def press(self):
        """Its action, as a screen reader carries it out."""
        names = wait_for(lambda: _ask(self._actions, None), f"what can be done with {self.role} {self.name!r}")
        wanted = next((name for name in ("Press", "Toggle") if name in names), None)
        if wanted is None:
            raise AssertionError(f"{self.role} {self.name!r} has no action to press, only {names}")
        # On a busy machine the answer may come too late; what it does is waited for by whoever pressed it.
        _ask(lambda: Atspi.Action.do_action(self._it, names.index(wanted)), None)

    def _actions(self):
        return [Atspi.Action.get_action_name(self._it, index) for index in range(Atspi.Action.get_n_actions(self._it))]

    def click(self):
        left, top, width, height = self.place
        desktop.click(left + width // 2, top + height // 2)

    def focus(self):
        """Gives it the keyboard."""
        Atspi.Component.grab_focus(self._it)
        wait_for(lambda: self.has("focused"), f"the keyboard at {self.role} {self.name!r}")

    def nodes(self, also_unseen=False):
        """All controls inside that are on the screen, in their order; or also those that one scrolls to."""
        for index in range(_ask(self._it.get_child_count, 0)):
            child = _ask(lambda index=index: self._it.get_child_at_index(index), None)
            if child is None:
                continue
            node = Node(child)
            if node.has("showing") or (also_unseen and _ask(lambda node=node: node.place[2], 0) > 0):
                yield node
            yield from node.nodes(also_unseen)

    def all(self, role=None, name=None):
        """The controls inside of this role and this name, or whose name begins as `name` does before its "…"."""
        return [node for node in self.nodes() if _fits(node, role, name)]

    def find(self, role, name=None, patience=15.0):
        """The first such control, once there is one."""

        def first():
            return next((node for node in self.nodes() if _fits(node, role, name)), None)

        try:
            return wait_for(first, f"{role} {name!r}", patience)
        except WaitedInVain as fault:
            raise WaitedInVain(f"{fault} in {self}") from None

    def wait_gone(self, role, name=None):
        wait_for(lambda: not self.all(role, name), f"{role} {name!r} to go")

    def scroll_to(self, name):
        """Gives the control of this name the keyboard, wherever on the page it is: so it comes into view."""

        def controls():
            return [node for node in self.nodes(also_unseen=True) if node.name == name and node.has("focusable")]

        wait_for(controls, f"the control {name!r}")[0].focus()

    def press_button(self, name):
        button = self.find("push button", name)
        wait_for(lambda: button.is_usable, f"the button {name!r}")
        button.press()

    def choose(self, name, label):
        """Chooses the entry with this label in the combo box of this name, with the keyboard."""
        box = self.find("combo box", name)
        box.focus()
        desktop.press("space")
        # An open list lies beside the page, so it is looked for in the whole window. A long one holds what is in sight.
        whole = window_of(self)
        wait_for(lambda: whole.all("dialog"), f"the list of {name!r}")
        for edge in ("Home", "End"):
            desktop.press(edge)
            try:
                return whole.find("list item", label, patience=5).press()
            except WaitedInVain:
                continue
        raise AssertionError(f"no {label!r} in the list of {name!r}")

    def fill(self, name, text, role="text"):
        """Types the text in place of what the entry of this name holds."""
        entry = self.find(role, name)
        entry.focus()
        desktop.shortcut("a")
        desktop.type_text(text)
        return entry

    def outline(self):
        """What is on the screen, a line each, for messages of failed tests."""
        return "\n".join(f"{node.role}: {node.name or node.text!r}" for node in self.nodes())

    def __str__(self):
        return f"{self.role} {self.name!r} with\n{self.outline()}"


def window(pid, title="Fenlo", patience=15.0):
    """The program's window of this title, in front and with the keyboard."""

    def opened():
        program = application(pid)
        return program and next(iter(program.all("frame", title)), None)

    found = wait_for(opened, f"the window {title!r}", patience)
    handle = wait_for(lambda: next(iter(desktop.windows_named(title)), None), f"the window {title!r} on the screen")
    desktop.activate(handle)
    return found


def is_open(pid, title="Fenlo"):
    program = application(pid)
    return bool(program and program.all("frame", title))


def window_of(node):
    accessible = node._it
    while accessible.get_role_name() != "frame":
        accessible = accessible.get_parent()
    return Node(accessible)


def focused(window_node):
    """The control that has the keyboard."""
    return next((node for node in window_node.nodes() if node.has("focused")), None)


def pages(home):
    """Turns to each page of the home window, and tells the page's name when it is there."""
    for tab in home.all("page tab"):
        tab.press()
        wait_for(lambda tab=tab: tab.has("selected"), f"the tab {tab.name}")
        yield tab.name.lower()
        sections = home.all("list", "Sections")
        for section in sections and sections[0].all("list item"):
            section.press()
            wait_for(lambda section=section: section.has("selected"), f"the section {section.name}")
            yield f"{tab.name}-{section.name}".lower().replace(" ", "-")


def application(pid):
    """All windows of the program, once it is known."""
    tree = Atspi.get_desktop(0)
    for index in range(_ask(tree.get_child_count, 0)):
        program = _ask(lambda index=index: tree.get_child_at_index(index), None)
        if program is not None and _ask(program.get_process_id, None) == pid:
            program.set_cache_mask(Atspi.Cache.NONE)  # every question goes to the program
            return Node(program)
    return None


def _fits(node, role, name):
    if role is not None and node.role != role:
        return False
    if name is None:
        return True
    return node.name.startswith(name[:-1]) if name.endswith("…") else node.name == name


def _ask(question, otherwise):
    """The answer, or `otherwise` from a control that has gone in the meantime."""
    try:
        return question()
    except GLib.GError:
        return otherwise
