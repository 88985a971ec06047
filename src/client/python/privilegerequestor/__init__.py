"""Asks the privileged helper to do maintenance work that needs root.

    import privilegerequestor

    with privilegerequestor.connect() as helper:
        print(helper.inspect_storagesize("/var/log"))
        for feedback in helper.search_agedfiles("/srv", 30):
            for found in feedback.objects:
                print(found.path, found.size)

An operation that sends feedback starts at once and returns a `Running`: iterate over it, or call its `wait`. All others
wait for their outcome. A failure raises `OperationError`.
"""

from ._requestor import Requestor, connect
from ._running import Feedback, FoundObject, Running
from ._values import OperationError

__all__ = ["Feedback", "FoundObject", "OperationError", "Requestor", "Running", "connect"]
