#!/usr/bin/env bash
# Writes the small example databases of this folder that are not plain text:
# people/people.dbf (a dBase III table, written byte by byte) and
# stock/stock.xls (an Excel workbook with the sheets Sheet1 and Prices,
# written with the Debian package libspreadsheet-writeexcel-perl).
set -euo pipefail
cd "$(dirname "$0")"

python3 - <<'PY'
import struct
fields = [("ID", "N", 4, 0), ("NAME", "C", 20, 0), ("CITY", "C", 14, 0),
          ("BORN", "D", 8, 0), ("MEMBER", "L", 1, 0)]
rows = [(1, "Ada Lovelace", "London", "18151210", "T"),
        (2, "Jean Müller", "Zürich", "19620301", "F"),
        (3, "Ana & Bo <Ltd>", "Porto", "19990615", "T")]
record_len = 1 + sum(f[2] for f in fields)
header_len = 32 + 32 * len(fields) + 1
out = bytearray(struct.pack("<BBBBIHH20x", 0x03, 125, 11, 23, len(rows), header_len, record_len))
for name, kind, length, decimals in fields:
    out += struct.pack("<11sc4xBB14x", name.encode(), kind.encode(), length, decimals)
out += b"\r"
for row in rows:
    out += b" "
    for (name, kind, length, _), value in zip(fields, row):
        text = str(value).encode("cp1252")
        out += text.rjust(length) if kind == "N" else text.ljust(length)
out += b"\x1a"
open("people/people.dbf", "wb").write(out)
PY

perl - <<'PL'
use strict;
use Spreadsheet::WriteExcel;
my $book = Spreadsheet::WriteExcel->new('stock/stock.xls') or die "stock.xls: $!";
my $sheet = $book->add_worksheet('Sheet1');
my @rows = (['Item', 'Count', 'Shelf'], ['Pencil', 120, 'A1'], ['Notebook', 35, 'A2'],
            ['Eraser', 0, 'B1']);
for my $r (0 .. $#rows) { $sheet->write_row($r, 0, $rows[$r]); }
my $prices = $book->add_worksheet('Prices');
$prices->write_row(0, 0, ['Item', 'Price']);
$prices->write_row(1, 0, ['Pencil', 0.45]);
$prices->write_row(2, 0, ['Notebook', 2.5]);
$book->close();
PL
