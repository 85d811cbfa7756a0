"""Reads the subset of the .mojom language the project uses into a small model."""

import re
from dataclasses import dataclass, field
from typing import Dict, List, Optional

PRIMITIVES = {
    "bool": "bool",
    "int8": "int8_t",
    "int16": "int16_t",
    "int32": "int32_t",
    "int64": "int64_t",
    "uint8": "uint8_t",
    "uint16": "uint16_t",
    "uint32": "uint32_t",
    "uint64": "uint64_t",
    "float": "float",
    "double": "double",
    "string": "std::string",
}


class MojomError(Exception):
    """A definition the generator cannot read; the message names file and line."""


@dataclass
class TypeRef:
    name: str  # a primitive, "array", or a declared name
    nullable: bool = False
    element: Optional["TypeRef"] = None  # for arrays
    fixed_size: Optional[int] = None  # for array<T, N>
    is_request: bool = False  # Interface&
    line: int = 0


@dataclass
class Field:
    name: str
    type: TypeRef


@dataclass
class EnumValue:
    name: str
    value: int


@dataclass
class Enum:
    name: str
    values: List[EnumValue]
    extensible: bool


@dataclass
class Struct:
    name: str
    fields: List[Field]
    cpp_type: Optional[str] = None  # typemapped to an existing C++ type
    cpp_header: Optional[str] = None


@dataclass
class Union:
    name: str
    fields: List[Field]


@dataclass
class Method:
    name: str
    ordinal: int
    params: List[Field]
    response: Optional[List[Field]]  # None: no reply


@dataclass
class Interface:
    name: str
    methods: List[Method]


@dataclass
class Module:
    path: str
    namespace: str
    imports: List[str] = field(default_factory=list)
    enums: List[Enum] = field(default_factory=list)
    structs: List[Struct] = field(default_factory=list)
    unions: List[Union] = field(default_factory=list)
    interfaces: List[Interface] = field(default_factory=list)

    def declared(self) -> Dict[str, object]:
        kinds = {}
        for item in self.enums + self.structs + self.unions + self.interfaces:
            kinds[item.name] = item
        return kinds


_TOKEN = re.compile(
    r"""(?P<space>\s+)|(?P<comment>//[^\n]*|/\*.*?\*/)|(?P<string>"[^"]*")|
        (?P<number>-?0[xX][0-9a-fA-F]+|-?\d+)|(?P<ident>[A-Za-z_][A-Za-z0-9_.]*)|
        (?P<arrow>=>)|(?P<punct>[{}()\[\]<>,;=?@&])""",
    re.VERBOSE | re.DOTALL,
)


class _Tokens:
    def __init__(self, path: str, text: str):
        self.path = path
        self.items = []
        position, line = 0, 1
        while position < len(text):
            match = _TOKEN.match(text, position)
            if not match:
                raise MojomError(f"{path}:{line}: unexpected character {text[position]!r}")
            kind = match.lastgroup
            value = match.group(kind)
            if kind not in ("space", "comment"):
                self.items.append((kind, value, line))
            line += value.count("\n")
            position = match.end()
        self.index = 0

    def peek(self, offset=0):
        at = self.index + offset
        return self.items[at] if at < len(self.items) else ("eof", "", self.line())

    def line(self):
        if self.index < len(self.items):
            return self.items[self.index][2]
        return self.items[-1][2] if self.items else 1

    def error(self, message):
        return MojomError(f"{self.path}:{self.line()}: {message}")

    def next(self):
        token = self.peek()
        if token[0] == "eof":
            raise self.error("unexpected end of file")
        self.index += 1
        return token

    def accept(self, value):
        if self.peek()[1] == value:
            self.index += 1
            return True
        return False

    def expect(self, value):
        token = self.next()
        if token[1] != value:
            raise MojomError(f"{self.path}:{token[2]}: expected {value!r}, found {token[1]!r}")
        return token

    def ident(self):
        token = self.next()
        if token[0] != "ident":
            raise MojomError(f"{self.path}:{token[2]}: expected a name, found {token[1]!r}")
        return token[1]

    def number(self):
        token = self.next()
        try:
            if token[0] == "number":
                return int(token[1], 0)
        except ValueError:
            pass
        raise MojomError(f"{self.path}:{token[2]}: expected a number, found {token[1]!r}")


def _attributes(tokens: _Tokens) -> Dict[str, object]:
    attributes = {}
    if not tokens.accept("["):
        return attributes
    while True:
        name = tokens.ident()
        value: object = True
        if tokens.accept("="):
            kind, text, _ = tokens.next()
            value = text.strip('"') if kind == "string" else text
        attributes[name] = value
        if tokens.accept("]"):
            return attributes
        tokens.expect(",")


def _type(tokens: _Tokens) -> TypeRef:
    line = tokens.line()
    name = tokens.ident()
    if name == "array":
        tokens.expect("<")
        element = _type(tokens)
        fixed_size = None
        if tokens.accept(","):
            fixed_size = tokens.number()
        tokens.expect(">")
        result = TypeRef("array", element=element, fixed_size=fixed_size, line=line)
    else:
        result = TypeRef(name, line=line)
        if tokens.accept("&"):
            result.is_request = True
    if tokens.accept("?"):
        result.nullable = True
    return result


def _fields(tokens: _Tokens) -> List[Field]:
    fields = []
    tokens.expect("{")
    while not tokens.accept("}"):
        _attributes(tokens)
        field_type = _type(tokens)
        fields.append(Field(tokens.ident(), field_type))
        tokens.expect(";")
    tokens.expect(";")
    return fields


def _params(tokens: _Tokens) -> List[Field]:
    params = []
    tokens.expect("(")
    if tokens.accept(")"):
        return params
    while True:
        _attributes(tokens)
        param_type = _type(tokens)
        params.append(Field(tokens.ident(), param_type))
        if tokens.accept(")"):
            return params
        tokens.expect(",")


def _enum(tokens: _Tokens, name: str, attributes) -> Enum:
    values, next_value = [], 0
    line = tokens.line()
    tokens.expect("{")
    while not tokens.accept("}"):
        value_name = tokens.ident()
        if tokens.accept("="):
            next_value = tokens.number()
        values.append(EnumValue(value_name, next_value))
        next_value += 1
        if not tokens.accept(","):
            tokens.expect("}")
            break
    tokens.expect(";")
    if not values:
        raise MojomError(f"{tokens.path}:{line}: enum {name} has no values")
    return Enum(name, values, bool(attributes.get("Extensible")))


def _interface(tokens: _Tokens, name: str) -> Interface:
    methods = []
    tokens.expect("{")
    while not tokens.accept("}"):
        _attributes(tokens)
        method_name = tokens.ident()
        ordinal = len(methods)
        if tokens.accept("@"):
            ordinal = tokens.number()
        params = _params(tokens)
        response = _params(tokens) if tokens.accept("=>") else None
        tokens.expect(";")
        methods.append(Method(method_name, ordinal, params, response))
    tokens.expect(";")
    return Interface(name, methods)


def parse(path: str) -> Module:
    with open(path, encoding="utf-8") as handle:
        tokens = _Tokens(path, handle.read())
    tokens.expect("module")
    module = Module(path, tokens.ident())
    tokens.expect(";")
    while tokens.peek()[0] != "eof":
        if tokens.accept("import"):
            kind, text, line = tokens.next()
            if kind != "string":
                raise MojomError(f"{path}:{line}: import needs a quoted file name")
            module.imports.append(text.strip('"'))
            tokens.expect(";")
            continue
        attributes = _attributes(tokens)
        keyword = tokens.ident()
        name = tokens.ident()
        if keyword == "struct":
            module.structs.append(
                Struct(name, _fields(tokens), attributes.get("CppType"), attributes.get("CppHeader")))
        elif keyword == "union":
            module.unions.append(Union(name, _fields(tokens)))
        elif keyword == "enum":
            module.enums.append(_enum(tokens, name, attributes))
        elif keyword == "interface":
            module.interfaces.append(_interface(tokens, name))
        else:
            raise tokens.error(f"unknown definition {keyword!r}")
    return module
