# SPDX-License-Identifier: MIT
"""Validates the JSON object on standard input against a schema, and shows members of it: validate.py SCHEMA [PATH...]

A path is of names and of numbers in lists, with dots between: errors.0.symbol
"""
import json
import sys

import jsonschema

with open(sys.argv[1], encoding="utf-8") as file:
    schema = json.load(file)
jsonschema.Draft202012Validator.check_schema(schema)
document = json.load(sys.stdin)
for error in jsonschema.Draft202012Validator(schema).iter_errors(document):
    print("not as the schema says:", list(error.path), error.message[:300])
for path in sys.argv[2:]:
    value = document
    for step in path.split("."):
        value = value[int(step)] if isinstance(value, list) else value.get(step, "(absent)")
    print(json.dumps(value, ensure_ascii=False))
