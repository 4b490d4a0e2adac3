#!/usr/bin/env python3
"""Checks the result records of standard input, at least COUNT, against docs/result.schema.json.
usage: check_records.py COUNT"""

import json
import pathlib
import sys

import jsonschema

schema = pathlib.Path(__file__).parents[2] / "docs/result.schema.json"
validator = jsonschema.Draft202012Validator(json.loads(schema.read_text()))
records = [json.loads(line) for line in sys.stdin]
errors = [f"{record}\n  {error.message}" for record in records for error in validator.iter_errors(record)]
if len(records) < int(sys.argv[1]):
    errors.append(f"{len(records)} records, not {sys.argv[1]}")
sys.exit("\n".join(errors) or 0)
