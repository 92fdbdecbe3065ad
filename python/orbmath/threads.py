"""How many threads the calls on arrays use."""

from . import _core


def get_threads() -> int:
    """Threads that a call on arrays may use; the machine's processors unless it was set."""
    return _core.get_threads()


def set_threads(count: int) -> None:
    """Set the number for this process; below 1 it is the machine's again. Results do not depend on it."""
    _core.set_threads(count)
