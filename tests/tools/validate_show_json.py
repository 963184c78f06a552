#!/usr/bin/python3
"""Validates every JSON line `quill run --json` prints against docs/show-json.schema.json.

    validate_show_json.py --quill QUILL --schema SCHEMA --workdir DIR --toggles A,B SCENARIO...

Runs each scenario twice, with the default stages and with every toggle in --toggles off (the
hand-written stages fill members the compiled ones leave empty), from DIR. Every line of standard
output must be a JSON object that the schema accepts; a scenario's exit status must be 0, or the
number in NAME.status beside it. Fails too when a table `quill help run` lists has no shape of its
own in the schema, or is shown by none of the scenarios, so that a new table cannot go unchecked.
"""
import argparse
import json
import pathlib
import subprocess
import sys

try:
    import jsonschema
except ImportError:
    sys.exit("validate_show_json: Debian's python3-jsonschema is missing; run scripts/setup as root")


def known_tables(quill, workdir):
    """The table names from the `show` section of `quill help run`."""
    text = subprocess.run([quill, "help", "run"], cwd=workdir, check=True,
                          capture_output=True, text=True).stdout
    marker = "tables for 'show TABLE [json]':"
    if marker not in text:
        sys.exit(f"validate_show_json: no '{marker}' in 'quill help run'")
    names = text.split(marker, 1)[1].replace("\n", " ").split(",")
    return [name.strip() for name in names if name.strip()]


def expected_status(scenario):
    status_file = scenario.with_suffix(".status")
    return int(status_file.read_text().strip()) if status_file.exists() else 0


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--quill", required=True)
    parser.add_argument("--schema", required=True)
    parser.add_argument("--workdir", required=True)
    parser.add_argument("--toggles", required=True, help="comma-separated toggle names")
    parser.add_argument("scenarios", nargs="+")
    args = parser.parse_args()

    schema = json.loads(pathlib.Path(args.schema).read_text())
    validator_class = jsonschema.validators.validator_for(schema)
    validator_class.check_schema(schema)
    validator = validator_class(schema, format_checker=validator_class.FORMAT_CHECKER
                                if hasattr(validator_class, "FORMAT_CHECKER")
                                else jsonschema.FormatChecker())
    failures = []

    # A table the schema gives no shape of its own would accept any content.
    tables = known_tables(args.quill, args.workdir)
    if len(tables) < 2:
        failures.append(f"'quill help run' lists only {tables!r}")
    for name in tables:
        if validator.is_valid({"table": name}):
            failures.append(f"table {name}: the schema has no shape for it")

    toggles_off = [f"--toggle={name}=off" for name in args.toggles.split(",") if name]
    shown = set()
    lines_checked = 0
    for scenario in args.scenarios:
        path = pathlib.Path(args.workdir, scenario)
        for variant, extra in (("default", []), ("toggles off", toggles_off)):
            where = f"{scenario} ({variant})"
            run = subprocess.run([args.quill, "run", "--json", *extra, scenario],
                                 cwd=args.workdir, capture_output=True, text=True)
            if run.returncode != expected_status(path):
                failures.append(f"{where}: exit status {run.returncode}\n{run.stderr}")
            for number, line in enumerate(run.stdout.splitlines(), 1):
                try:
                    value = json.loads(line)
                except json.JSONDecodeError as error:
                    failures.append(f"{where}: output line {number} is not JSON ({error}): {line}")
                    continue
                lines_checked += 1
                if isinstance(value, dict):
                    shown.add(value.get("table"))
                for error in validator.iter_errors(value):
                    path_text = "/".join(str(part) for part in error.absolute_path)
                    failures.append(f"{where}: output line {number}, at /{path_text}: "
                                    f"{error.message}")

    for name in tables:
        if name not in shown:
            failures.append(f"table {name}: no scenario shows it, so its JSON form is unchecked")

    if failures:
        print("\n".join(failures))
        return 1
    print(f"{lines_checked} lines valid, {len(shown)} tables")
    return 0


if __name__ == "__main__":
    sys.exit(main())
