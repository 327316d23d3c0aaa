#!/usr/bin/env python3
"""Looks in the sources for what Visual Studio refuses and clang with libc++ does not: a name of the standard library
without its header, and a static member function's parameter or variable with the name of a member (C4458).
  usage: refused.py ROOT FILE..."""
import pathlib
import re
import sys

# Which headers declare which names. Where several do, one of them suffices.
CONTAINERS = "array deque list map regex set span string string_view unordered_map unordered_set vector"
HEADERS = {
    "algorithm": """adjacent_find all_of any_of binary_search copy copy_if copy_n count count_if equal fill fill_n find
        find_if find_if_not for_each generate generate_n includes lexicographical_compare lower_bound max max_element
        min min_element minmax mismatch none_of nth_element partition remove_copy remove_if replace replace_if
        reverse rotate search set_difference sort stable_partition stable_sort transform unique upper_bound""",
    "algorithm utility": "move",
    "algorithm cstdio": "remove",
    "array": "array to_array",
    "atomic": """atomic atomic_ref atomic_thread_fence memory_order_acq_rel memory_order_acquire memory_order_relaxed
        memory_order_release memory_order_seq_cst""",
    "bit": "bit_cast countl_zero countr_zero has_single_bit popcount rotl rotr",
    "cctype": "isalnum isalpha isdigit islower isspace isupper isxdigit tolower toupper",
    "charconv": "chars_format from_chars from_chars_result to_chars to_chars_result",
    "chrono": "chrono chrono_literals",
    "cmath": "fabs floor fmod isfinite isnan llround log pow round sqrt trunc",
    "cmath cstdlib": "abs",
    "compare": "partial_ordering strong_ordering weak_ordering",
    "condition_variable": "condition_variable condition_variable_any cv_status",
    "csignal": "signal",
    "cstdarg": "va_list",
    "cstddef": "byte max_align_t nullptr_t ptrdiff_t",
    "cstddef cstdio cstdlib cstring ctime cwchar": "size_t",
    "cstdint": """int16_t int32_t int64_t int8_t intmax_t intptr_t uint16_t uint32_t uint64_t uint8_t uintmax_t
        uintptr_t""",
    "cstdio": """FILE fclose fflush fgets fopen fprintf fputs fread fseek ftell fwrite printf putchar puts rename
        snprintf vsnprintf""",
    "cstdlib": """_Exit abort atexit atoi calloc exit free getenv malloc quick_exit realloc strtol strtoul strtoull
        system""",
    "cstring": """memchr memcmp memcpy memmove memset strchr strcmp strlen strncmp strrchr strstr""",
    "ctime": "time time_t tm",
    "cwchar": """swprintf swscanf wcschr wcscmp wcscpy wcslen wcsncmp wcsrchr wcsstr wcstod wcstol wcstoll wcstoul
        wcstoull wmemchr wmemcmp wmemcpy wmemmove wmemset""",
    "cwctype": "iswalnum iswalpha iswdigit iswspace iswxdigit towlower towupper",
    "deque": "deque",
    "exception": """current_exception exception exception_ptr make_exception_ptr rethrow_exception set_terminate
        terminate uncaught_exceptions""",
    "filesystem": "filesystem",
    "fstream": "fstream ifstream ofstream wfstream wifstream wofstream",
    "functional": "bad_function_call bind cref function hash invoke less minus multiplies not_fn plus ref",
    "future": "async future future_error future_status launch packaged_task promise shared_future",
    "initializer_list " + CONTAINERS: "initializer_list",
    "iomanip": "quoted setfill setprecision setw",
    "ios istream ostream fstream iostream sstream": """boolalpha dec fixed hex ios ios_base left noshowbase right
        streamoff streampos streamsize showbase uppercase""",
    "iostream": "cerr cin clog cout wcerr wcout",
    "istream fstream iostream sstream": "basic_istream istream wistream ws",
    "iterator": """advance back_insert_iterator back_inserter bidirectional_iterator_tag distance forward_iterator_tag
        front_inserter inserter input_iterator_tag istream_iterator iterator_traits make_move_iterator
        make_reverse_iterator next ostream_iterator output_iterator_tag prev random_access_iterator_tag
        reverse_iterator""",
    "iterator " + CONTAINERS: "begin cbegin cend crbegin crend data empty end rbegin rend size ssize",
    "iterator istream fstream iostream sstream": "istreambuf_iterator",
    "iterator ostream fstream iostream sstream": "ostreambuf_iterator",
    "limits": "numeric_limits",
    "list": "list",
    "map": "map multimap",
    "memory": """addressof align allocator construct_at default_delete destroy_at dynamic_pointer_cast
        enable_shared_from_this make_shared make_unique shared_ptr static_pointer_cast unique_ptr weak_ptr""",
    "mutex": "call_once lock_guard mutex once_flag recursive_mutex scoped_lock",
    "mutex shared_mutex": "adopt_lock defer_lock try_to_lock unique_lock",
    "new": """align_val_t bad_alloc bad_array_new_length destroying_delete destroying_delete_t launder new_handler
        nothrow nothrow_t set_new_handler""",
    "numeric": "accumulate gcd inner_product iota reduce",
    "optional": "bad_optional_access make_optional nullopt nullopt_t optional",
    "ostream fstream iostream sstream": "basic_ostream endl flush ostream wostream",
    "random": "mt19937 mt19937_64 random_device uniform_int_distribution",
    "ranges": "views",
    "ratio chrono": "micro milli nano ratio",
    "regex": """basic_regex cmatch match_results regex regex_constants regex_error regex_match regex_replace
        regex_search smatch sregex_iterator wregex wsmatch""",
    "set": "multiset set",
    "shared_mutex": "shared_lock shared_mutex",
    "source_location": "source_location",
    "span": "as_bytes as_writable_bytes dynamic_extent span",
    "sstream": "istringstream ostringstream stringstream wistringstream wostringstream wstringstream",
    "stdexcept": """domain_error invalid_argument length_error logic_error out_of_range overflow_error range_error
        runtime_error""",
    "stop_token": "stop_callback stop_source stop_token",
    "string": """basic_string char_traits getline stod stoi stol stoll stoul stoull string string_literals to_string
        to_wstring u16string u32string u8string wstring""",
    "string_view": "basic_string_view string_view string_view_literals u8string_view wstring_view",
    "system_error": "errc error_category error_code error_condition generic_category make_error_code system_category "
                    "system_error",
    "thread": "jthread this_thread thread",
    "tuple": "apply forward_as_tuple ignore make_tuple tie tuple tuple_cat",
    "array ranges tuple utility variant": "get",
    "array ranges tuple utility": "tuple_element tuple_element_t tuple_size tuple_size_v",
    "type_traits": """add_const_t common_type_t conditional conditional_t decay_t enable_if_t false_type
        integral_constant invoke_result_t is_arithmetic_v is_base_of is_base_of_v is_class_v is_const_v is_convertible_v
        is_copy_assignable_v is_copy_constructible_v is_enum_v is_floating_point_v is_function_v is_integral_v
        is_invocable_v is_nothrow_move_constructible_v is_pointer_v is_same_v is_signed_v is_trivially_copyable_v
        is_trivially_destructible_v is_unsigned_v is_void_v make_signed_t make_unsigned_t remove_const_t remove_cv_t
        remove_cvref_t remove_pointer_t remove_reference_t true_type underlying_type_t void_t type_identity_t""",
    "concepts": "convertible_to derived_from floating_point integral invocable same_as",
    "typeinfo": "bad_cast type_info",
    "typeindex": "type_index",
    "unordered_map": "unordered_map",
    "unordered_set": "unordered_set",
    "utility": """as_const cmp_equal cmp_less exchange forward in_place in_place_t index_sequence index_sequence_for
        integer_sequence make_index_sequence make_pair pair piecewise_construct swap to_underlying unreachable""",
    "variant": "get_if holds_alternative monostate variant variant_alternative_t visit",
    "vector": "vector",
    "deque list map set string unordered_map unordered_set vector": "erase erase_if",
}
HEADERS_OF = {name: headers.split() for headers, names in HEADERS.items() for name in names.split()}
IN_NAMESPACE_RANGES = {"subrange": ["ranges"], "view": ["ranges"], "views": ["ranges"], "begin": ["ranges"],
                       "end": ["ranges"], "size": ["ranges"], "range_value_t": ["ranges"]}

IGNORED = re.compile(r'//[^\n]*|/\*.*?\*/|R"([^(\n]*)\(.*?\)\1"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])+\'', re.S)
INCLUDE = re.compile(r'^\s*#\s*include\s*([<"])([^>"]+)[>"]', re.M)
DIRECTIVE = re.compile(r"^[ \t]*#.*(?:\\\n.*)*", re.M)
NAME = re.compile(r"\bstd::(?:(ranges)::)?(\w+)")


def code_of(text):
    """The text without comments and literals, its lines kept."""
    return IGNORED.sub(lambda found: "''" + "\n" * found[0].count("\n"), text)


def line_of(text, position):
    return text.count("\n", 0, position) + 1


class Tree:
    def __init__(self, root):
        self.root = root
        self.includes = {}

    def headers_of(self, path, seen=None):
        """The library headers that a file includes, itself or through headers of the project."""
        seen = set() if seen is None else seen
        if path in self.includes:
            return self.includes[path]
        if path in seen or not path.is_file():
            return set()
        seen.add(path)
        found = set()
        for kind, name in INCLUDE.findall(path.read_text(encoding="utf-8")):
            if kind == "<":
                found.add(name)
            else:
                inner = self.root / name
                found |= self.headers_of(inner if inner.is_file() else path.parent / name, seen)
        self.includes[path] = found
        return found


def missing_headers(tree, path, code):
    headers = tree.headers_of(path)
    complained = set()
    for found in NAME.finditer(code):
        ranges, name = found.groups()
        if name in complained:
            continue
        wanted = IN_NAMESPACE_RANGES.get(name, ["algorithm"]) if ranges else HEADERS_OF.get(name)
        if wanted is None:
            complained.add(name)
            yield line_of(code, found.start()), f"std::{name} is not in the table of names of refused.py"
        elif not headers.intersection(wanted):
            complained.add(name)
            yield line_of(code, found.start()), f"{found[0]} without <{'> or <'.join(wanted)}>"


class Class:
    def __init__(self):
        self.members = set()     # the names of its data members
        self.functions = []      # its static member functions: (name, tokens of parameters, tokens of the body)


TOKEN = re.compile(r"\w+|::|->|\[\[|\]\]|\S")
CLOSING = {"(": ")", "{": "}", "[": "]", "[[": "]]"}
KEYWORDS = {"return", "throw", "case", "else", "new", "delete", "const", "goto", "co_return", "co_await", "co_yield"}
NO_MEMBER = {"using", "typedef", "friend", "static_assert", "enum", "class", "struct", "union", "template", "public",
             "protected", "private"}


def end_of(tokens, begin):
    """Where the bracket that opens at `begin` ends; behind it."""
    depth = 0
    for at in range(begin, len(tokens)):
        if tokens[at][0] in CLOSING:
            depth += 1
        elif tokens[at][0] in CLOSING.values():
            depth -= 1
            if depth == 0:
                return at + 1
    return len(tokens)


def split_at_commas(tokens):
    parts, depth = [[]], 0
    for token in tokens:
        depth += (token[0] in "({[<") - (token[0] in ")}]>")
        if token[0] == "," and depth == 0:
            parts.append([])
        else:
            parts[-1].append(token)
    return parts


def declared_name(tokens):
    """The name that a declarator declares, with its position; None if it has none."""
    name = None
    for token in tokens:
        if token[0] in ("=", "{", "[", ":"):
            break
        name = token if re.match(r"[A-Za-z_]", token[0]) else name
    return name if len(tokens) > 1 else None


class Parser:
    """Finds the classes of a file and, in it, the definitions of member functions outside of their classes."""

    def __init__(self, code):
        code = DIRECTIVE.sub(lambda found: re.sub(r"[^\n]", " ", found[0]), code)
        self.tokens = [(found[0], found.start()) for found in TOKEN.finditer(code)]
        self.classes = {}
        self.definitions = []  # (class, function, tokens of parameters, tokens of the body)
        self.scope(0, None)

    def scope(self, at, inside):
        """Reads declarations until the scope ends, behind which it returns."""
        begin = at
        while at < len(self.tokens):
            token = self.tokens[at][0]
            if token == "}":
                return at + 1
            if token == ";":
                self.declaration(self.tokens[begin:at], [], inside)
                begin = at = at + 1
            elif token == ":" and self.tokens[at - 1][0] in ("public", "protected", "private"):
                begin = at = at + 1
            elif token == "{":
                header = self.tokens[begin:at]
                words = [word for word, _ in header]
                if "namespace" in words or words[:1] == ["extern"]:
                    begin = at = self.scope(at + 1, None)
                elif "(" not in words and "=" not in words and {"class", "struct", "union"} & set(words) \
                        and "enum" not in words:
                    kind = next(n for n, word in enumerate(words) if word in ("class", "struct", "union"))
                    names = [word for word in words[kind + 1:] if re.match(r"[A-Za-z_]", word) and word != "alignas"]
                    at = self.scope(at + 1, self.classes.setdefault(names[0] if names else "", Class()))
                elif "(" in words and self.is_body(header):
                    end = end_of(self.tokens, at)
                    self.declaration(header, self.tokens[at + 1:end - 1], inside)
                    begin = at = end
                else:
                    at = end_of(self.tokens, at)  # an initializer or an enumeration
            elif token in CLOSING:
                at = end_of(self.tokens, at)
            else:
                at += 1
        return at

    def is_body(self, header):
        words = [word for word, _ in header]
        call = words.index("(")
        if "=" in words[:call]:
            return False
        behind = words[end_of(header, call):]
        return not (":" in behind and re.match(r"\w|>", words[-1]))  # else it initializes a member

    def declaration(self, tokens, body, inside):
        words = [word for word, _ in tokens]
        if "[[" in words:
            start = words.index("[[")
            end = words.index("]]", start) + 1
            return self.declaration(tokens[:start] + tokens[end:], body, inside)
        if words[:1] == ["template"]:
            depth = 0
            for at, word in enumerate(words[1:], 1):
                depth += (word == "<") - (word == ">")
                if depth == 0:
                    return self.declaration(tokens[at + 1:], body, inside)
        equals = words.index("=") if "=" in words else len(words)
        if "(" in words[:equals]:
            call = words.index("(")
            if call == 0:
                return
            parameters = tokens[call + 1:end_of(tokens, call) - 1]
            if inside is not None and "static" in words[:call]:
                inside.functions.append((words[call - 1], parameters, body))
            elif inside is None and call >= 3 and words[call - 2] == "::":
                self.definitions.append((words[call - 3], words[call - 1], parameters, body))
        elif inside is not None and words and words[0] not in NO_MEMBER:
            for part in split_at_commas(tokens):
                name = declared_name([("", 0)] + part)
                if name is not None:
                    inside.members.add(name[0])


def hidden_members(parser, classes):
    """Parameters and variables of static member functions that have the name of a data member of their class."""
    functions = [(own.members, parameters, body) for own in parser.classes.values()
                 for _, parameters, body in own.functions]
    for owner, name, parameters, body in parser.definitions:
        for own in classes.get(owner, []):
            if name in (function for function, _, _ in own.functions):
                functions.append((own.members, parameters, body))
    for members, parameters, body in functions:
        for part in split_at_commas(parameters):
            name = declared_name(part)
            if name is not None and name[0] in members:
                yield name
        for before, token, behind in zip(body, body[1:], body[2:]):
            if token[0] in members and behind[0] in ("=", "{", ";", "(") and before[0] not in KEYWORDS \
                    and re.match(r"\w|>$", before[0]):
                yield token


def main():
    root = pathlib.Path(sys.argv[1]).resolve()
    tree = Tree(root)
    files = {file: code_of(file.read_text(encoding="utf-8")) for file in map(pathlib.Path, sys.argv[2:])}
    parsers = {file: Parser(code) for file, code in files.items()}
    classes = {}
    for parser in parsers.values():
        for name, found in parser.classes.items():
            classes.setdefault(name, []).append(found)

    complaints = 0
    for file, code in files.items():
        found = list(missing_headers(tree, file.resolve(), code))
        found += [(line_of(code, at), f"{name} hides the member of that name (C4458)")
                  for name, at in hidden_members(parsers[file], classes)]
        for line, text in sorted(found):
            print(f"{file}:{line}: error: {text}")
            complaints += 1
    return 1 if complaints else 0


if __name__ == "__main__":
    sys.exit(main())
