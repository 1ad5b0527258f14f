#!/usr/bin/env python3
"""Random tables with random quoting, and how the csv module reads them: random_tables.py SEED COUNT.

A line for each table: the separator, the bytes, and the rows with ";" before each row and "," before
each field, all in hexadecimal. Empty lines are no rows.
"""
import csv
import io
import random
import sys

ALPHABET = ["a", "1", " ", "'", ";", "\\", "\u00e4", "\u20ac", "\0", ",", "\t", '"', '""', "\n", "\r\n", "\r"]


def written(field, separator):
    special = any(c in field for c in (separator, '"', "\n", "\r"))
    if special or random.random() < 0.3:
        return '"' + field.replace('"', '""') + '"'
    return field


def random_table(separator):
    columns = random.randrange(1, 5)
    text = ""
    for _ in range(random.randrange(6)):
        fields = ["".join(random.choices(ALPHABET, k=random.randrange(6)))
                  for _ in range(columns + random.choice([0, 0, 0, 1, 2]))]
        text += separator.join(written(field, separator) for field in fields)
        text += "".join(random.choices(["\n", "\r\n"], k=random.choice([1, 1, 1, 2])))
    if random.random() < 0.3:
        text = text.removesuffix("\n").removesuffix("\r")
    return text


def hexadecimal(text):
    return text.encode().hex()


random.seed(int(sys.argv[1]))
for _ in range(int(sys.argv[2])):
    separator = random.choice([",", "\t"])
    text = random_table(separator)
    rows = csv.reader(io.StringIO(text, newline=""), delimiter=separator, strict=True)
    told = "".join(";" + "".join("," + hexadecimal(field) for field in row) for row in rows if row)
    print(hexadecimal(separator), hexadecimal(text), told)
