"""Prints what documents break of a JSON Schema: a line for each document, with the rules between tabs."""

import json
import pathlib
import sys

from jsonschema import Draft202012Validator, RefResolver


def read(path):
    with open(path, encoding="utf-8") as file:
        return json.load(file)


def rule(error):
    path = [str(step) for step in error.absolute_schema_path]
    if error.validator == "required":
        # Only the message names the member that is missing.
        path.append(error.message.split("'")[1])
    return "/".join(path)


schema, *documents = sys.argv[1:]
Draft202012Validator.check_schema(read(schema))
# Schemas refer to those beside them.
resolver = RefResolver(pathlib.Path(schema).as_uri(), read(schema))
validator = Draft202012Validator(read(schema), resolver=resolver)
for document in documents:
    print("\t".join(sorted(rule(error) for error in validator.iter_errors(read(document)))))
