"""Types that several modules share."""

from typing import Any, TypeAlias, TypeVar

import numpy as np
from numpy.typing import ArrayLike, NDArray

#: An array of doubles.
Doubles: TypeAlias = NDArray[np.float64]
#: A number or an array of doubles: what comes back has the broadcast shape of what went in.
Values: TypeAlias = Any
#: Anything that numpy takes for numbers.
Numbers: TypeAlias = ArrayLike

T = TypeVar("T")
