#!/usr/bin/env python3
"""refused.py finds what it is for, and nothing in sources that Visual Studio takes."""
import pathlib
import subprocess
import sys
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).with_name("refused.py")


def complaints(**files):
    """What refused.py says of files, given as name_ending=text: lines of FILE:LINE: error: TEXT."""
    with tempfile.TemporaryDirectory() as folder:
        root = pathlib.Path(folder)
        paths = [root / name.replace("_", ".") for name in files]
        for path, text in zip(paths, files.values()):
            path.write_text(text, encoding="utf-8")
        run = subprocess.run([sys.executable, SCRIPT, root, *paths], stdout=subprocess.PIPE, text=True, check=False)
        lines = [line.replace(f"{root}/", "").replace(" error:", "") for line in run.stdout.splitlines()]
        assert (run.returncode == 0) == (not lines), run.returncode
        return lines


class Headers(unittest.TestCase):
    def test_a_name_without_its_header_is_found(self):
        self.assertEqual(complaints(a_cpp="#include <vector>\n\nauto f(std::vector<int> v)\n{\n    return "
                                          "std::back_inserter(v);\n}\n"),
                         ["a.cpp:5: std::back_inserter without <iterator>"])

    def test_algorithms_on_ranges_are_told_from_views(self):
        self.assertEqual(complaints(a_cpp="#include <algorithm>\nauto a = std::ranges::find(b, 1);\n"
                                          "auto c = std::ranges::subrange(d, e);\n"),
                         ["a.cpp:3: std::ranges::subrange without <ranges>"])

    def test_a_header_of_the_project_may_bring_it(self):
        self.assertEqual(complaints(a_h="#include <string>\n", b_h='#include "a.h"\n',
                                    c_cpp='#include "b.h"\nstd::string text;\n'), [])

    def test_comments_and_texts_do_not_count(self):
        self.assertEqual(complaints(a_cpp="// std::set\n/* std::map */ const char* a = \"std::list\";\n"
                                          "const char* b = R\"(std::vector \" )\";\n"), [])

    def test_a_name_that_the_table_lacks_is_found(self):
        self.assertEqual(complaints(a_cpp="std::nonesuch x;\n"),
                         ["a.cpp:1: std::nonesuch is not in the table of names of refused.py"])


class HiddenMembers(unittest.TestCase):
    def test_a_parameter_of_a_static_function(self):
        self.assertEqual(complaints(a_h="#pragma once\nstruct Fault\n{\n    int first = 1;\n    template <class Result>\n"
                                        "    static Fault Every(Result result, int error = {})\n    {\n"
                                        "        return {1, result};\n    }\n    long result = 0; // of the call\n};\n"),
                         ["a.h:6: result hides the member of that name (C4458)"])

    def test_a_parameter_in_a_definition_outside_of_the_class(self):
        self.assertEqual(complaints(a_h="class Sink\n{\npublic:\n    static Sink* Create(const wchar_t* text);\n\n"
                                        "private:\n    const wchar_t* name;\n};\n",
                                    a_cpp="Sink* Sink::Create(const wchar_t* name)\n{\n    return nullptr;\n}\n"),
                         ["a.cpp:1: name hides the member of that name (C4458)"])

    def test_a_variable_of_a_static_function(self):
        self.assertEqual(complaints(a_cpp="class A\n{\n    static void F()\n    {\n        const int count = 0;\n    }\n"
                                          "    int count{};\n};\n"),
                         ["a.cpp:5: count hides the member of that name (C4458)"])

    def test_functions_with_an_object_are_the_compilers_business(self):
        self.assertEqual(complaints(a_cpp="class A\n{\n    A(int count) : count{count} {}\n    void F(int count);\n"
                                          "    int count{};\n};\n"), [])

    def test_other_classes_members_and_names_after_a_dot_do_not_count(self):
        self.assertEqual(complaints(a_cpp="struct A\n{\n    int count = 0;\n};\nstruct B\n{\n    static A F(int count)\n"
                                          "    {\n        A a;\n        a.value = count;\n        return a;\n    }\n"
                                          "    int value = 0;\n};\n"), [])


if __name__ == "__main__":
    unittest.main()
