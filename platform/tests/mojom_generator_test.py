#!/usr/bin/env python3
"""The bindings generator refuses bad definitions with one "file:line: reason" line and exit
status 1, never a traceback, and writes nothing for them."""

import os
import subprocess
import sys
import tempfile
import unittest

GENERATOR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "mojo", "generator",
                         "mojom_generator.py")


class GeneratorErrorTest(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.output = os.path.join(self.directory.name, "out")

    def generate(self, text):
        path = os.path.join(self.directory.name, "case.mojom")
        with open(path, "w", encoding="utf-8") as handle:
            handle.write(text)
        result = subprocess.run(
            [sys.executable, GENERATOR, "--output-dir", self.output, "--include-prefix", "p", path],
            capture_output=True, text=True, check=False)
        return path, result

    def assert_refused(self, text, line, reason):
        path, result = self.generate(text)
        self.assertEqual(result.returncode, 1, result.stderr)
        self.assertNotIn("Traceback", result.stderr)
        self.assertEqual(result.stderr.strip(), f"mojom_generator: {path}:{line}: {reason}")
        self.assertFalse(os.path.exists(self.output), "nothing is written for a refused file")

    def test_unknown_types_name_their_line(self):
        self.assert_refused("module t;\n\nstruct A {\n  int32 x;\n  Missing m;\n};\n",
                            5, "unknown type 'Missing'")
        self.assert_refused("module t;\nstruct A {\n  array<Missing?> m;\n};\n",
                            3, "unknown type 'Missing'")
        self.assert_refused("module t;\ninterface I {\n  Do(int32 a) => (Nope n);\n};\n",
                            3, "unknown type 'Nope'")

    def test_nullable_strings_are_refused_wherever_they_appear(self):
        self.assert_refused("module t;\nstruct A {\n  string? s;\n};\n",
                            3, "nullable strings are not supported")
        self.assert_refused("module t;\nunion U {\n  int32 n;\n  array<string?> s;\n};\n",
                            4, "nullable strings are not supported")
        self.assert_refused("module t;\ninterface I {\n\n  Do(string? s);\n};\n",
                            4, "nullable strings are not supported")

    def test_records_containing_themselves_are_refused(self):
        self.assert_refused("module t;\nstruct A {\n  int32 x;\n  A inner;\n};\n",
                            4, "A contains itself")
        self.assert_refused(
            "module t;\nstruct A {\n  B b;\n};\nunion B {\n  int32 n;\n  array<A> a;\n};\n",
            7, "A contains itself")

    def test_interface_pointers_outside_parameters_are_refused(self):
        reason = "interface pointers are supported only as method parameters"
        self.assert_refused("module t;\ninterface I {\n  Do();\n};\nstruct A {\n  I i;\n};\n",
                            6, reason)
        self.assert_refused("module t;\ninterface I {\n  Do(array<I> all);\n};\n", 3, reason)

    def test_malformed_text_is_refused(self):
        self.assert_refused("module t;\nstruct A {\n  int32 x\n};\n", 4, "expected ';', found '}'")
        self.assert_refused("module t;\nstruct A {\n  array<int32, 08> x;\n};\n",
                            3, "expected a number, found '08'")
        self.assert_refused("module t;\n\nenum E {\n};\n", 3, "enum E has no values")

    def test_a_good_definition_is_written(self):
        _, result = self.generate("module t;\nstruct A {\n  int32 x;\n};\n")
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertTrue(os.path.exists(os.path.join(self.output, "case.mojom.h")))
        self.assertTrue(os.path.exists(os.path.join(self.output, "case.mojom.cc")))


if __name__ == "__main__":
    unittest.main()
