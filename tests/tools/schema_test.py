#!/usr/bin/env python3
"""Holds docs/arbor.schema.json to what the tool writes and reads. Needs arborctl on the PATH and jsonschema.

Every document of the examples and of the fuzz corpus that loads is exported as JSON: the schema accepts it, and the tool
reads it back. What the schema refuses, the tool refuses too, with a message that names the line, and the document stays.
"""
import json
import pathlib
import subprocess
import sys
import tempfile

try:
    import jsonschema
except ImportError:
    print('skipped: no jsonschema')
    sys.exit(77)

PROJECT = pathlib.Path(__file__).resolve().parents[2]
SCHEMA = json.loads((PROJECT / 'docs/arbor.schema.json').read_text())

NOT_DOCUMENTS = [
    '[]', '"text"', '{"name": 1}', '{"name": "a%x00"}', '{"keys": {}}', '{"values": 1}', '{"other": 1}', '{"keys": [1]}',
    '{"keys": [{}]}', '{"keys": [{"name": ""}]}', '{"keys": [{"name": "a/b"}]}', '{"keys": [{"name": "a%x5cb"}]}',
    '{"values": [{}]}', '{"keys": [{"name": "k", "keys": [{"name": "l", "values": [{"name": "v"}]}]}]}',
]
# The members of a value beside its name.
NOT_VALUES = [
    '"type": "tDWORD"', '"type": "tDword", "value": 1', '"type": "tOBJECT", "value": 1', '"value": 1',
    '"type": "tDWORD", "value": 1, "bytes": "01000000"', '"type": "tDWORD", "value": "many"',
    '"type": "tDWORD", "value": 4294967296', '"type": "tDWORD", "value": -1', '"type": "tDWORD", "value": 1.5',
    '"type": "tDWORD", "value": true', '"type": "tBYTE", "value": 256', '"type": "tSBYTE", "value": 128',
    '"type": "tQWORD", "value": 18446744073709551616', '"type": "tSHORT", "value": -32769',
    '"type": "tINT", "value": 2147483648', '"type": "tLONGLONG", "value": 9223372036854775808',
    '"type": "tBOOL", "value": -1', '"type": "tBOOL", "value": "yes"', '"type": "tDOUBLE", "value": "1x"',
    '"type": "tDOUBLE", "value": null', '"type": "tFUNC_PTR", "value": ""', '"type": "tSTRING", "value": 1',
    '"type": "tSTRING", "value": "a\\u0000"', '"type": "tCHAR", "value": "ab"', '"type": "tCHAR", "value": "\u00e9"',
    '"type": "tWCHAR", "value": "xy"', '"type": "tBINARY", "value": "ABC"', '"type": "tPTR", "value": "0G"',
    '"type": "tVOID", "value": "x"', '"type": "tINT", "bytes": "31"', '"type": "tBINARY", "bytes": "3131"',
    '"type": "tSTRING", "bytes": "4100"', '"type": "tSTRING", "bytes": "4"', '"type": "tCHAR", "bytes": ""',
    '"type": "tWSTRING", "bytes": "ED00"', '"type": "tINT", "value": 1, "more": 1', '"type": "tINT", "value": [1]',
]


def run(*arguments):
    return subprocess.run(['arborctl', *map(str, arguments)], capture_output=True)


def main():
    validator = jsonschema.Draft202012Validator(SCHEMA)
    validator.check_schema(SCHEMA)
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        copy = pathlib.Path(folder, 'copy.xml')
        loaded = 0
        for document in sorted([*(PROJECT / 'examples').glob('*.xml'), *(PROJECT / 'fuzz/corpus/document').iterdir()]):
            for command in 'export', 'tree':
                written = run(document, command, '--json')
                if written.returncode == 3:
                    continue
                loaded += 1
                faults += [f'{document} {command}: {fault.message}' for fault in
                           validator.iter_errors(json.loads(written.stdout))]
                file = pathlib.Path(folder, 'd.json')
                file.write_bytes(written.stdout)
                read = run('--create=force', '--lenient', copy, 'import', file)
                if read.returncode != 0 and b'0x80000044' not in read.stderr:   # a tDOUBLE without a text
                    faults.append(f'{document} {command}: {read.stderr.decode()}')
                copy.unlink(missing_ok=True)
        if loaded < 100:
            faults.append(f'only {loaded} documents were exported')

        run('--create', copy, 'set', 'Kept', 'tINT', '1')
        kept = copy.read_bytes()
        for text in NOT_DOCUMENTS + ['{"values": [{"name": "v", %s}]}' % value for value in NOT_VALUES]:
            if validator.is_valid(json.loads(text)):
                faults.append(f'the schema accepts {text}')
            file.write_text(text, encoding='utf-8')
            read = run(copy, 'import', file, '--from', 'json')
            if read.returncode != 1 or b'd.json:1:' not in read.stderr or copy.read_bytes() != kept:
                faults.append(f'import of {text}: {read.returncode} {read.stderr.decode()}')
    print('\n'.join(faults))
    return 1 if faults else 0


if __name__ == '__main__':
    sys.exit(main())
