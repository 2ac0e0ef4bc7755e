"""The exception the library's failures raise."""


class Error(Exception):
    """A library call returned a failure status.

    Attributes
    ----------
    status : int
        The status number the library returned (for example 8).
    status_name : str
        Its name in ``qvi.h`` (for example ``"STATUS_BAD_BUFFER"``).

    The message names the call, the status and what it means.
    """

    def __init__(self, message: str, status: int, status_name: str) -> None:
        super().__init__(message)
        self.status = status
        self.status_name = status_name

    def __reduce__(self):
        # Kept whole when pickled, as Dask's workers send errors back.
        return (type(self), (str(self), self.status, self.status_name))
