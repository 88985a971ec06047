#!/usr/bin/python3
"""Prints what in a folder has the ending ".log", and how large the folder is: search.py FOLDER"""

import sys

import privilegerequestor

try:
    with privilegerequestor.connect() as helper:
        for feedback in helper.search_patterns(sys.argv[1], extensions=["log"]):
            for found in feedback.objects:
                print(found.path, found.size)
        print(helper.inspect_storagesize(sys.argv[1]), "bytes")
except privilegerequestor.OperationError as error:
    sys.exit(str(error))
