#!/usr/bin/env python3
"""Judges files of documents by a reader that shares nothing with the program: strict JSON in UTF-8, one object a line,
each line ended.

usage: judge_documents.py    reads paths, one a line, and answers each with a line: "whole", or what is wrong
"""
import json
import sys


def refuse(word):
    raise ValueError("no JSON: " + word)


def judge(path):
    with open(path, "rb") as file:
        for number, line in enumerate(file, 1):
            if not line.endswith(b"\n"):
                return f"line {number} is torn"
            try:
                document = json.loads(line.decode("utf-8"), parse_constant=refuse)
            except ValueError as error:
                return f"line {number}: {error}"
            if not isinstance(document, dict):
                return f"line {number} is no object"
    return "whole"


for request in sys.stdin:
    print(judge(request.rstrip("\n")), flush=True)
