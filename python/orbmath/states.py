"""How a search for a ground point ended."""

from enum import IntEnum

from . import _core


class State(IntEnum):
    """State of one point; `State.CONVERGED` alone is a solution, and points of any other state are NaN."""

    NOT_RUN = 0
    CONVERGED = 1
    NOT_CONVERGED = 2
    SINGULAR = 3
    NO_APPROXIMATION = 4
    NO_START = 5
    TOO_FEW_IMAGES = 6
    OTHER_BRANCH = 7
    FAR_OUT = 8
    BEHIND_SENSOR = 9
    FAR_HEIGHT = 10
    MISFIT = 11
    BAD_VARIANCE = 12

    @property
    def sentence(self) -> str:
        """The state as one short sentence."""
        return _core.describe_state(int(self))
