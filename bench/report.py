#!/usr/bin/env python3
"""Runs the programs of the comparison and reports their figures.

usage: report.py run      BUILD  measures everything, prints the tables, writes docs/performance.md and its pictures
       report.py against  BUILD OTHER_MODULE NAME   compares this tree's module with another one in one run
       report.py check    BUILD  counts instructions and compares them with bench/instructions.tsv
       report.py record   BUILD  counts them and writes bench/instructions.tsv
       report.py windows  BUILD WINDOWS_BUILD   compares the store with RapidXML in both builds, the second under Wine
"""
import collections
import os
import pathlib
import re
import statistics
import subprocess
import sys
import tempfile
import time

HERE = pathlib.Path(__file__).resolve().parent
DOCS = HERE.parent / 'docs'
ROUNDS = 5

# Each program and the variants that it measures.
PROGRAMS = {
    'store': ['store'],
    'pugixml': ['pugixml', 'pugixml+index'],
    'rapidxml': ['rapidxml', 'rapidxml+index'],
    'tinyxml2': ['tinyxml2+index'],
    'libxml2': ['libxml2+index'],
    'key_file': ['gkeyfile'],
    'property_tree': ['ptree'],
}
VARIANTS = [variant for variants in PROGRAMS.values() for variant in variants]
TITLES = {
    'store': 'this store', 'pugixml': 'pugixml, bare', 'pugixml+index': 'pugixml + index',
    'rapidxml': 'RapidXML, bare', 'rapidxml+index': 'RapidXML + index', 'tinyxml2+index': 'tinyxml2 + index',
    'libxml2+index': 'libxml2 + index', 'gkeyfile': 'GKeyFile', 'ptree': 'Boost.PropertyTree',
}
SIZES = ['100KB', '1MB', '10MB', '100MB']
FOREIGN = ('foreign', '35000')
FOREIGN_PROGRAMS = ['store', 'pugixml', 'rapidxml']
WIDE = [(shape, count) for shape in ('widevalues', 'widekeys') for count in ('10000', '100000')]

# For times: the allocator keeps its pages, as in a process that has run for a while, so page faults aren't measured.
KEEP_PAGES = {'MIMALLOC_ALLOW_DECOMMIT': '0', 'MIMALLOC_RESERVE_OS_MEMORY': '1GiB'}

# For memory: the allocator returns free pages at once, so only memory in use is measured.
RETURN_PAGES = {'MIMALLOC_DECOMMIT_DELAY': '0'}

# `rows` holds (row title, cells); `note` is printed below the table.
Table = collections.namedtuple('Table', 'title head rows note')


def log(text):
    print(f'bench: {text}', file=sys.stderr, flush=True)


class Run:
    """All figures of one run: (document, variant, job) -> measurements, one a round. Programs run in the build's folder,
    the only one whose path a Windows program knows as well."""

    def __init__(self, build, launcher=(), suffix=''):
        self.build = pathlib.Path(build).resolve()
        self.launcher = launcher
        self.suffix = suffix
        self.documents = self.build / 'documents'
        self.documents.mkdir(exist_ok=True)
        self.figures = collections.defaultdict(list)

    def document(self, shape, size):
        path = self.documents / f'{shape}-{size}.xml'
        if not path.exists():
            log(f'generating {path.name}')
            part = path.with_suffix('.part')
            subprocess.run([sys.executable, HERE / 'gen.py', shape, size, part], check=True)
            part.rename(path)
        return path

    def measure(self, program, mode, document, variant=None, module=None, label=None):
        command = [*self.launcher, f'./bench_{program}{self.suffix}', mode, f'documents/{document.name}',
                   'documents/scratch.xml']
        environment = dict(os.environ) | (RETURN_PAGES if mode == 'memory' else KEEP_PAGES)
        if module:
            environment['ARBOR_MODULE'] = str(pathlib.Path(module).resolve())
        done = subprocess.run(command + ([variant] if variant else []), env=environment, check=True, cwd=self.build,
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        for line in done.stdout.splitlines():
            name, job, figure = line.split('\t')
            self.figures[document.stem, label or name, job].append(float(figure))

    def has(self, document, variant, job):
        return (document, variant, job) in self.figures

    def get(self, document, variant, job):
        return statistics.median(self.figures[document, variant, job])

    def hit(self, document):
        """The unit of GET and SET: the median over the hits of all programs, since those of one program vary."""
        return statistics.median(figure for (measured, _, job), figures in self.figures.items()
                                 if measured == document and job == 'hit' for figure in figures)


def measure_all(build):
    run = Run(build)
    start = time.monotonic()
    typical = {size: run.document('typical', size) for size in SIZES}
    wide = [run.document(shape, count) for shape, count in WIDE]
    foreign = run.document(*FOREIGN)
    log('checking the results')
    for program in PROGRAMS:
        run.measure(program, 'check', typical['1MB'])
    log('measuring memory')
    for program, variants in PROGRAMS.items():
        for variant in variants:
            run.measure(program, 'memory', typical['10MB'], variant)
    for number in range(ROUNDS):
        log(f'round {number + 1} of {ROUNDS}, {time.monotonic() - start:.0f} s so far')
        for program in PROGRAMS:
            run.measure(program, 'access', typical['1MB'])
            for size in ('100KB', '1MB', '10MB'):
                run.measure(program, 'document', typical[size])
        for program in FOREIGN_PROGRAMS:
            run.measure(program, 'foreign', foreign)
        for document in wide:
            run.measure('store', 'document', document)
    log(f'the largest document, {time.monotonic() - start:.0f} s so far')
    for program in PROGRAMS:
        run.measure(program, 'document', typical['100MB'])
    log(f'measured in {time.monotonic() - start:.0f} s')
    return run


def ratio(value):
    return f'{value:.2f}' if value < 10 else f'{value:.1f}'


def speed_table(run, job, title, note, sizes=SIZES, base=('pugixml', None)):
    """A job's time for each variant, as a multiple of the time of `base`: a variant (None: the same) and a job."""
    rows = []
    for variant in VARIANTS:
        cells = []
        for size in sizes:
            document = f'typical-{size}'
            if not run.has(document, variant, job):
                cells.append('')
                continue
            unit = run.get(document, base[0] or variant, base[1] or job)
            cells.append(ratio(run.get(document, variant, job) / unit))
        rows.append((TITLES[variant], cells))
    return Table(title, sizes, rows, note)


def foreign_table(run):
    document = '-'.join(FOREIGN)
    rows = [(TITLES[variant], [ratio(run.get(document, variant, job) / run.get(document, 'pugixml', 'load'))
                               for job in ('load', 'free')])
            for variant in VARIANTS if run.has(document, variant, 'load')]
    return Table('LOAD and FREE of a foreign document, in times of the bare pugixml\'s LOAD', ['LOAD', 'FREE'], rows,
                 '35,000 elements with 51,000 attributes and texts in 2 MB. Each element becomes a key, each attribute '
                 'and text a value.')


def access_table(run):
    document = 'typical-1MB'
    jobs = ['get', 'get_open', 'set', 'set_open', 'set_new']
    rows = []
    for variant in VARIANTS:
        rows.append((TITLES[variant], [ratio(run.get(document, variant, job) / run.hit(document))
                                       if run.has(document, variant, job) else '' for job in jobs]))
    return Table('GET and SET, 1 MB, in hits', ['GET by path', 'GET, key open', 'SET by path', 'SET, key open', 'SET of a new value'], rows,
                 'A hit is the time in which `std::unordered_map` with as many entries finds one by its whole path. '
                 'Only the store has handles of open keys. A new value is added by path to a key that has no value '
                 'of its name.')


def memory_table(run):
    size = run.documents.joinpath('typical-10MB.xml').stat().st_size
    rows = [(TITLES[variant], [ratio(run.get('typical-10MB', variant, job) / size) for job in ('held', 'peak')])
            for variant in VARIANTS]
    return Table('Memory after LOAD, 10 MB, bytes per byte of the document', ['held', 'peak'], rows,
                 'Resident memory of a process that has done nothing else.')


def growth_table(run):
    jobs = ['load', 'save', 'free', 'enum', 'copy']
    rows = []
    for job in jobs:
        cells = []
        for small, large in zip(SIZES, SIZES[1:]):
            cells.append(ratio(run.get(f'typical-{large}', 'store', job) / run.get(f'typical-{small}', 'store', job)))
        rows.append((job.upper(), cells))
    return Table('Growth of this store from one document to the next, ten times as large',
                 [f'{small} to {large}' for small, large in zip(SIZES, SIZES[1:])], rows, '')


def wide_table(run):
    jobs = ['load', 'enum', 'enum_down', 'next_key', 'copy', 'free']
    rows = []
    for job in jobs:
        cells = []
        for shape in ('widevalues', 'widekeys'):
            small, large = (run.get(f'{shape}-{count}', 'store', job) for count in ('10000', '100000'))
            cells.append(ratio(large / small) if not (job == 'next_key' and shape == 'widevalues') else '')
        rows.append((job.upper(), cells))
    return Table('Growth of one key from 10,000 to 100,000 entries', ['values', 'child keys'], rows,
                 'ENUM_DOWN reads by descending index, NEXT_KEY steps from sibling to sibling by `OpenNextKey`.')


def tables_of(run):
    return [
        speed_table(run, 'load', 'LOAD, in times of the bare pugixml', 'From the file until every query can be '
                    'answered: building an index is included.'),
        foreign_table(run),
        access_table(run),
        speed_table(run, 'save', 'SAVE to memory, in times of the bare pugixml', ''),
        speed_table(run, 'save_disk', 'SAVE to the disk, in times of the bare pugixml',
                    'A temporary file, one write, a flush and a move, for all of them.', ['1MB', '10MB']),
        speed_table(run, 'enum', 'ENUM, in times of the bare pugixml', 'Copies every name, and every value in its type, to '
                    'the caller.'),
        speed_table(run, 'free', 'FREE, as a share of the own LOAD', '', base=(None, 'load')),
        memory_table(run),
        growth_table(run),
        wide_table(run),
    ]


def as_markdown(table):
    lines = [f'### {table.title}', '', '| | ' + ' | '.join(table.head) + ' |', '|---|' + '---|' * len(table.head)]
    lines += [f'| {name} | ' + ' | '.join(cells) + ' |' for name, cells in table.rows]
    return '\n'.join(lines + (['', table.note] if table.note else []) + [''])


def as_text(table):
    width = max(len(name) for name, _ in table.rows)
    columns = [max(len(head), 7) for head in table.head]
    lines = [table.title, ' ' * width + ''.join(f'  {head:>{w}}' for head, w in zip(table.head, columns))]
    lines += [f'{name:{width}}' + ''.join(f'  {cell:>{w}}' for cell, w in zip(cells, columns))
              for name, cells in table.rows]
    return '\n'.join(lines) + '\n'


def draw(run, folder):
    """Draws a picture for each job: its time by the size of the document."""
    folder.mkdir(parents=True, exist_ok=True)
    for job, title in (('load', 'LOAD'), ('save', 'SAVE to memory'), ('enum', 'ENUM'), ('free', 'FREE')):
        blocks = []
        for variant in VARIANTS:
            points = []
            for size in SIZES:
                bytes_of = run.documents.joinpath(f'typical-{size}.xml').stat().st_size
                unit = run.get('typical-10MB', 'pugixml', 'load')
                points.append(f'{bytes_of} {max(run.get(f"typical-{size}", variant, job), 1e-9) / unit}')
            blocks.append('\n'.join(points))
        plots = ', '.join(f'$data index {i} with linespoints title "{TITLES[v]}"{" lw 3" if v == "store" else ""}'
                          for i, v in enumerate(VARIANTS))
        script = f'''set terminal svg size 720,480 font "sans,12" background "white"
set output "{folder / job}.svg"
set title "{title}"
set logscale xy
set xlabel "bytes of the document"
set ylabel "in LOADs of 10 MB by the bare pugixml"
set key outside right
set grid
$data << EOD
''' + '\n\n\n'.join(blocks) + f'\nEOD\nplot {plots}\n'
        subprocess.run(['gnuplot'], input=script, text=True, check=True)


def write_report(run, tables):
    page = (HERE / 'performance.md').read_text()
    page = page.replace('@TABLES@', '\n'.join(as_markdown(table) for table in tables).rstrip())
    (DOCS / 'performance.md').write_text(page)
    draw(run, DOCS / 'performance')


def against(build, module, name):
    """Runs one program with two builds of the module in turn."""
    run = Run(build)
    documents = [run.document('typical', size) for size in ('1MB', '10MB')]
    own = run.build / 'arbor.so'
    for number in range(ROUNDS):
        log(f'round {number + 1} of {ROUNDS}')
        for label, path in (('this', own), ('other', module)):
            run.measure('store', 'access', documents[0], module=path, label=label)
            for document in documents:
                run.measure('store', 'document', document, module=path, label=label)
    for label, path in (('this', own), ('other', module)):
        run.measure('store', 'memory', documents[1], module=path, label=label)
    jobs = ['load', 'get', 'get_open', 'set', 'set_open', 'set_new', 'enum', 'save', 'save_disk', 'copy', 'free', 'held',
            'peak']
    rows = []
    for job in jobs:
        cells = []
        for document in documents:
            key = document.stem
            cells.append(ratio(run.get(key, 'this', job) / run.get(key, 'other', job))
                         if run.has(key, 'this', job) else '')
        rows.append((job.upper(), cells))
    print(as_text(Table(f'This tree in times of {name}', ['1MB', '10MB'], rows, '')))


def stripped_size(module):
    with tempfile.TemporaryDirectory() as folder:
        stripped = pathlib.Path(folder) / 'stripped'
        subprocess.run(['i686-w64-mingw32-strip', '-o', stripped, module], check=True)
        return stripped.stat().st_size


def windows(build, windows_build):
    """The store in times of RapidXML with an index, as the product and as the native build, one program at a time."""
    runs = [Run(build), Run(windows_build, [HERE.parent / 'tools' / 'wine32'], '.exe')]
    jobs = ['load', 'get', 'set', 'save', 'free']
    for run in runs:
        document = run.document('typical', '1MB')
        for program in ('store', 'rapidxml'):
            run.measure(program, 'check', document)
    for number in range(ROUNDS):
        log(f'round {number + 1} of {ROUNDS}')
        for run in runs:
            for program in ('store', 'rapidxml'):
                for mode in ('document', 'access'):
                    run.measure(program, mode, document, None if program == 'store' else 'rapidxml+index')
    rows = []
    for job in jobs:
        # The least of the rounds: the time of a Windows program is elapsed time, which other processes only lengthen.
        native, product = (min(run.figures[document.stem, 'store', job]) /
                           min(run.figures[document.stem, 'rapidxml+index', job]) for run in runs)
        rows.append((job.upper(), [ratio(product), ratio(native), ratio(product / native)]))
    print(as_text(Table('The store in times of RapidXML + index, 1 MB', ['Windows', 'native', 'quotient'], rows, '')))
    print(f'arbor.dll, stripped: {stripped_size(runs[1].build / "arbor.dll")} bytes')


COUNTED = re.compile(r'^(?:summary|totals):\s+(\d+)', re.MULTILINE)
TOLERANCE = 0.05


def count_instructions(build):
    """The instructions of each job of the store, job -> number."""
    run = Run(build)
    base = run.documents / 'callgrind.out'
    for old in run.documents.glob('callgrind.out*'):
        old.unlink()
    for mode, document in (('instructions', run.document('typical', '100KB')),
                           ('foreign-instructions', run.document('foreign', '3500'))):
        subprocess.run(['valgrind', '--tool=callgrind', f'--callgrind-out-file={base}.{mode}', '--collect-atstart=no',
                        run.build / 'bench_store', mode, document, run.documents / 'scratch.xml'], check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    counts = {}
    for dump in sorted(run.documents.glob('callgrind.out.*.*')):
        text = dump.read_text()
        job = re.search(r'^desc: Trigger: Client Request: (\S+)', text, re.MULTILINE)
        if job:
            counts[job[1]] = int(COUNTED.search(text)[1])
    return counts


def recorded_path():
    return HERE / 'instructions.tsv'


def record(build):
    counts = count_instructions(build)
    recorded_path().write_text(''.join(f'{job}\t{count}\n' for job, count in counts.items()))
    print(recorded_path().read_text(), end='')


def check(build):
    counts = count_instructions(build)
    recorded = dict(line.split('\t') for line in recorded_path().read_text().splitlines())
    failures = 0
    for job, figure in recorded.items():
        share = counts.get(job, 0) / int(figure) - 1
        verdict = 'ok' if abs(share) <= TOLERANCE else 'slower' if share > 0 else 'faster: record the new figure'
        failures += job not in counts or abs(share) > TOLERANCE
        print(f'{job:12} {counts.get(job, 0):12} instructions  {share:+7.1%}  {verdict}')
    sys.exit(1 if failures else 0)


def main():
    command, build, *rest = sys.argv[1:]
    if command == 'run':
        run = measure_all(build)
        tables = tables_of(run)
        print('\n'.join(as_text(table) for table in tables))
        write_report(run, tables)
    elif command == 'against':
        against(build, *rest)
    elif command == 'check':
        check(build)
    elif command == 'record':
        record(build)
    elif command == 'windows':
        windows(build, *rest)
    else:
        sys.exit(__doc__)


if __name__ == '__main__':
    main()
