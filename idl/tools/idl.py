"""Reads the project's IDL files into plain objects: what the dispatch tables and the reference are
made from. Knows the part of the language that these files use, and stops at anything else."""
import re
from dataclasses import dataclass, field

_TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|\s+|(?P<token>"(?:[^"\\]|\\.)*"|[\w.-]+|[^\s\w])', re.S)


@dataclass
class Parameter:
    name: str
    type: str  # as written, with its stars: "BSTR*"
    attributes: dict

    @property
    def is_result(self):
        return 'retval' in self.attributes

    @property
    def is_optional(self):
        return 'optional' in self.attributes

    @property
    def default(self):
        """Text with quotes, or number; None without one."""
        return self.attributes.get('defaultvalue')


@dataclass
class Member:
    name: str
    kind: str  # method, propget, propput, propputref
    id: int
    type: str
    parameters: list
    attributes: dict

    @property
    def help(self):
        return self.attributes.get('helpstring', '').strip('"')

    @property
    def arguments(self):
        return [p for p in self.parameters if not p.is_result]

    @property
    def result(self):
        return next((p for p in self.parameters if p.is_result), None)


@dataclass
class Declared:
    """An interface, dispinterface, enumeration, coclass or the library itself."""
    kind: str
    name: str
    attributes: dict
    members: list = field(default_factory=list)

    @property
    def help(self):
        return self.attributes.get('helpstring', '').strip('"')


class _Reader:
    def __init__(self, text):
        self.tokens = [m['token'] for m in _TOKEN.finditer(text) if m['token']]
        self.at = 0

    def peek(self, ahead=0):
        at = self.at + ahead
        return self.tokens[at] if at < len(self.tokens) else ''

    def take(self, expected=None):
        token = self.peek()
        if expected is not None and token != expected:
            around = ' '.join(self.tokens[max(0, self.at - 12):self.at + 3])
            raise SyntaxError(f'expected {expected!r}, found {token!r} after: {around}')
        self.at += 1
        return token

    def skip_past(self, token):
        while self.take() != token:
            pass

    def attributes(self):
        found = {}
        if self.peek() != '[':
            return found
        self.take('[')
        while self.peek() != ']':
            name = self.take()
            value = True
            if self.peek() == '(':
                self.take('(')
                parts = []
                while self.peek() != ')':
                    parts.append(self.take())
                self.take(')')
                value = ' '.join(parts)
            found[name] = value
            if self.peek() == ',':
                self.take(',')
        self.take(']')
        return found

    def type(self):
        name = self.take()
        while self.peek() == '*':
            name += self.take()
        return name

    def member(self):
        attributes = self.attributes()
        result = self.type()
        name = self.take()
        self.take('(')
        parameters = []
        while self.peek() != ')':
            given = self.attributes()
            parameters.append(Parameter(type=self.type(), name=self.take(), attributes=given))
            if self.peek() == ',':
                self.take(',')
        self.take(')')
        self.take(';')
        kind = next((k for k in ('propget', 'propputref', 'propput') if k in attributes), 'method')
        return Member(name, kind, int(attributes.get('id', 0)), result, parameters, attributes)

    def enumeration(self, attributes):
        self.take('typedef')
        self.take('enum')
        declared = Declared('enum', self.take(), attributes)
        self.take('{')
        while self.peek() != '}':
            name = self.take()
            self.take('=')
            declared.members.append((name, int(self.take())))
            if self.peek() == ',':
                self.take(',')
        self.skip_past(';')
        return declared

    def declaration(self):
        attributes = self.attributes()
        kind = self.peek()
        if kind == 'typedef':
            return self.enumeration(attributes)
        self.take()
        declared = Declared(kind, self.take(), attributes)
        if self.peek() == ';':  # a forward declaration
            self.take(';')
            return None
        if self.peek() == ':':
            self.take(':')
            self.take()
        self.take('{')
        while self.peek() != '}':
            if self.peek(1) == ':':  # "properties:", "methods:"
                self.take()
                self.take(':')
            elif kind == 'coclass':
                given = self.attributes()
                self.take()
                declared.members.append((self.take(), given))
                self.take(';')
            else:
                declared.members.append(self.member())
        self.take('}')
        self.take(';')
        return declared


def read(path):
    """The library of an IDL file, and what it declares in the order of the file."""
    with open(path, encoding='utf-8') as file:
        reader = _Reader(file.read())
    while reader.peek() == 'import':
        reader.skip_past(';')
    attributes = reader.attributes()
    reader.take('library')
    library = Declared('library', reader.take(), attributes)
    reader.take('{')
    while reader.peek() != '}':
        if reader.peek() == 'importlib':
            reader.skip_past(';')
            continue
        declared = reader.declaration()
        if declared is not None:
            library.members.append(declared)
    return library
