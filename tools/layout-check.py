#!/usr/bin/env python3
"""Checks the version 2 storage-time layouts end to end and prints what it found; not a test.

    layout-check.py --tool ZEL_TOOL --gen DLT_GEN [--records N] [--work DIR]

Writes one file of N version 2 records (300 by default) per layout A, B and C with dlt-gen, the
same records in each, stored at times spread over 2019 to 2031, and converts each with
`zel-tool log-convert manatime` and plain (both times). Prints, per layout, how many storage
times are right, and whether everything else on the lines is the same in all three files.
"""
import argparse, os, subprocess, tempfile, time

START, STEP = 1546300800, 1262304618034  # 2019-01-01 UTC; a little over 14.6 days, in microseconds


def expected(n):
    micros = n * STEP
    return time.strftime('%Y/%m/%d %H:%M:%S', time.gmtime(START + micros // 10**6)) + f'.{micros % 10**6:06d}'


def convert(tool, *words):
    out = subprocess.run([tool, 'log-convert', *words], capture_output=True, check=True,
                         env={**os.environ, 'TZ': 'UTC'}).stdout
    return out.decode('latin-1').splitlines()


def main():
    ap = argparse.ArgumentParser()
    ap.add_argument('--tool', required=True)
    ap.add_argument('--gen', required=True)
    ap.add_argument('--records', type=int, default=300)
    ap.add_argument('--work', default=tempfile.gettempdir())
    a = ap.parse_args()
    rests, plain = {}, {}
    for layout in 'ABC':
        log = os.path.join(a.work, f'layout-{layout}.log')
        subprocess.run([a.gen, '--records', str(a.records), '--version', '2', '--layout', layout, '--start',
                        str(START), '--step', str(STEP), '--out', log], check=True, capture_output=True)
        lines = convert(a.tool, 'manatime', log)
        right = sum(line.startswith(expected(n) + ' ') for n, line in enumerate(lines))
        rests[layout] = [line.split(' ', 2)[2] for line in lines]
        plain[layout] = [line.split(' ', 1)[0] + ' ' + line.split(' ', 3)[3] for line in convert(a.tool, log)]
        print(f'layout {layout}: {len(lines)} lines, storage time right on {right} of {a.records}')
    print('the rest of the lines the same in A, B and C:', rests['A'] == rests['B'] == rests['C'],
          '; with the data time:', plain['A'] == plain['B'] == plain['C'])


if __name__ == '__main__':
    main()
