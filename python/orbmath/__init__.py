"""RPC sensor models in numpy arrays: ground to image, image to ground, several images, fits and corrections.

Angles are degrees, heights metres above the ellipsoid, image coordinates pixels. Ground points are always
(latitude, longitude, height), image points (line, sample), counted as the model's file counts them: whole numbers at
pixel centres, unless its maker says otherwise.
"""

from importlib.metadata import PackageNotFoundError, version

from .adjusting import Adjustment, adjust
from .checking import Check, Finding, View
from .comparison import Comparison, compare
from .fitting import FitReport, fit
from .footprint import Footprint
from .intersection import Intersection, intersect
from .model import Location, Model
from .pairing import Pairs, pairs
from .refining import RefineReport, refine
from .states import State
from .terrain import Terrain, TerrainState, Visibility
from .threads import get_threads, set_threads
from .uncertainty import Uncertainty, UncertaintyState, intersect_uncertainty, locate_uncertainty

try:
    __version__ = version("orbmath")
except PackageNotFoundError:  # a source tree that was never installed
    __version__ = "0"

__all__ = [
    "Adjustment",
    "Check",
    "Comparison",
    "Finding",
    "FitReport",
    "Footprint",
    "Intersection",
    "Location",
    "Model",
    "Pairs",
    "RefineReport",
    "State",
    "Terrain",
    "TerrainState",
    "Uncertainty",
    "UncertaintyState",
    "View",
    "Visibility",
    "adjust",
    "compare",
    "fit",
    "get_threads",
    "intersect",
    "intersect_uncertainty",
    "locate_uncertainty",
    "pairs",
    "refine",
    "set_threads",
]
