"""Tests of tools/make-fold-table.py and of the table it wrote into the core."""

import importlib.util
import os
import sys
import tempfile
import textwrap
import unittest

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
DATA = "/usr/share/unicode/UnicodeData.txt"


def load(name):
    path = os.path.join(ROOT, "tools", name)
    found = importlib.util.spec_from_file_location(name.replace("-", "_").removesuffix(".py"), path)
    module = importlib.util.module_from_spec(found)
    sys.modules[found.name] = module
    found.loader.exec_module(module)
    return module


fold = load("make-fold-table.py")

# A few lines of the database: a letter with two marks stacked, its capital, a spacing mark,
# a singleton decomposition and a range.
SAMPLE = textwrap.dedent("""\
    0041;LATIN CAPITAL LETTER A;Lu;0;L;;;;;N;;;;0061;
    0061;LATIN SMALL LETTER A;Ll;0;L;;;;;N;;;0041;;0041
    0065;LATIN SMALL LETTER E;Ll;0;L;;;;;N;;;0045;;0045
    0045;LATIN CAPITAL LETTER E;Lu;0;L;;;;;N;;;;0065;
    00C5;LATIN CAPITAL LETTER A WITH RING ABOVE;Lu;0;L;0041 030A;;;;N;;;;00E5;
    00EA;LATIN SMALL LETTER E WITH CIRCUMFLEX;Ll;0;L;0065 0302;;;;N;;;00CA;;00CA
    0301;COMBINING ACUTE ACCENT;Mn;230;NSM;;;;;N;;;;;
    0302;COMBINING CIRCUMFLEX ACCENT;Mn;230;NSM;;;;;N;;;;;
    030A;COMBINING RING ABOVE;Mn;230;NSM;;;;;N;;;;;
    093F;DEVANAGARI VOWEL SIGN I;Mc;0;L;;;;;N;;;;;
    1EBE;LATIN CAPITAL LETTER E WITH CIRCUMFLEX AND ACUTE;Lu;0;L;00CA 0301;;;;N;;;;1EBF;
    1EBF;LATIN SMALL LETTER E WITH CIRCUMFLEX AND ACUTE;Ll;0;L;00EA 0301;;;;N;;;1EBE;;1EBE
    00CA;LATIN CAPITAL LETTER E WITH CIRCUMFLEX;Lu;0;L;0045 0302;;;;N;;;;00EA;
    212A;KELVIN SIGN;Lu;0;L;004B;;;;N;DEGREES KELVIN;;;006B;
    212B;ANGSTROM SIGN;Lu;0;L;00C5;;;;N;ANGSTROM UNIT;;;00E5;
    4E00;<CJK Ideograph, First>;Lo;0;L;;;;;N;;;;;
    9FFF;<CJK Ideograph, Last>;Lo;0;L;;;;;N;;;;;
    """)


class FoldTableTest(unittest.TestCase):
    def sample(self):
        with tempfile.NamedTemporaryFile("w", suffix=".txt", delete=False, encoding="utf-8") as data:
            data.write(SAMPLE)
        self.addCleanup(os.unlink, data.name)
        return fold.read_database(data.name)

    def test_letters_fold_to_their_lower_case_base_through_every_mark(self):
        letters = fold.base_letters(self.sample())
        self.assertEqual(letters[0x1EBF], 0x65)
        self.assertEqual(letters[0x1EBE], 0x65)
        self.assertEqual(letters[0xC5], 0x61)
        self.assertEqual(letters[0x212B], 0x61)  # through the letter it stands for
        self.assertNotIn(0x212A, letters)       # a decomposition without marks is not an accent
        self.assertNotIn(0x61, letters)

    def test_only_nonspacing_marks_are_dropped_and_ranges_join(self):
        chars = self.sample()
        self.assertEqual(fold.mark_ranges(chars), [[0x301, 0x302], [0x30A, 0x30A]])
        self.assertIn(0x4E00 + 5, chars)  # a range's inner code points are read too

    def test_a_line_that_is_not_the_database_is_an_error(self):
        with tempfile.NamedTemporaryFile("w", suffix=".txt", delete=False, encoding="utf-8") as data:
            data.write("0041;too;few\n")
        self.addCleanup(os.unlink, data.name)
        with self.assertRaises(ValueError):
            fold.read_database(data.name)

    @unittest.skipUnless(os.path.exists(DATA), "unicode-data is not installed")
    def test_the_committed_table_is_what_the_database_gives(self):
        chars = fold.read_database(DATA)
        expected = fold.render(fold.base_letters(chars), fold.mark_ranges(chars), DATA)
        with open(os.path.join(ROOT, "src", "base", "FoldTable.h"), encoding="utf-8") as committed:
            self.assertEqual(committed.read(), expected)


if __name__ == "__main__":
    unittest.main()
