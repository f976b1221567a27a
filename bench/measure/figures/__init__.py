"""All figures, in the order of the table and of a round."""

from .burst import Burst
from .echo import Echo
from .first_packet import FirstPacket
from .full_table import FullTable
from .functions import Functions
from .idle import Idle, IdleFloor
from .log import Log
from .memory import MemoryIdle, MemoryPending
from .rate import Rate
from .rebuild import Rebuild
from .size import Size
from .spacing import Spacing
from .stack import Stack
from .start_up import StartUp
from .ties import Threads, Ties

MACHINE_FIGURES = (Functions(), Rebuild(), Log(), Threads(), IdleFloor())

# The quiet ones come first: connections of the round before are forgotten meanwhile.
SYSTEM_FIGURES = (Size(), Idle(), MemoryIdle(), MemoryPending(), Stack(), StartUp())

# The one that leaves the daemon's table of senders full comes last.
RUNNING_FIGURES = (
    Echo(),
    FirstPacket(),
    Spacing("UDP", 20, 50, runs=8),
    Spacing("UDP", 128, 5, runs=6),
    Spacing("TCP", 20, 50, runs=8),
    Burst(),
    Ties(),
    Rate(),
    FullTable(),
)

FIGURES = (*SYSTEM_FIGURES, *RUNNING_FIGURES, *MACHINE_FIGURES)


def names():
    return list(dict.fromkeys(figure.name for figure in FIGURES))


def metrics():
    return [metric for figure in FIGURES for metric in figure.metrics]
