"""The exceptions the package raises; every one derives from :class:`Error`."""

from __future__ import annotations


class Error(Exception):
    """Base of every error of the package."""


class NotConnectedError(Error):
    """No instrument was found, or the session's instrument was closed."""


class OutOfRangeError(Error, ValueError):
    """A value outside what the instrument accepts; the message names the allowed range."""


class NoResponseError(Error, TimeoutError):
    """The instrument did not answer in time."""


class PlanError(Error):
    """A plan could not be read, built or started."""


class RuntimeFault(Error):
    """A runtime error of the library: its number and description (13 "Type mismatch", ...)."""

    def __init__(self, number: int, description: str) -> None:
        super().__init__(f"runtime error {number}: {description}")
        self.number = number
        self.description = description


class LibraryNotFoundError(Error, OSError):
    """The shared library libsynthor could not be loaded; the message lists what was tried."""
