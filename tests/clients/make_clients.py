"""make_clients.py CALLS IDL FOLDER: turns the table of calls into clients of every kind, which all
make the same calls and expect the same answers: calls.vbs, calls.js, and in C++ calls_typed.inc
(through the interfaces) and calls_named.inc (by name). Every client counts its calls by member and
fails when a member of a public class was never called."""
import re
import sys
from pathlib import Path

sys.path.insert(0, str(Path(__file__).parents[2] / 'idl' / 'tools'))
import idl  # noqa: E402

TOKEN = re.compile(r'\s*("(?:[^"]|"")*"|-?\d+|\w+|[(),.=])')
KINDS = {'call': ('method', 'propget'), 'get': ('method', 'propget'), 'let': ('method', 'propget'),
         'fail': ('method', 'propget'), 'put': ('propput',), 'set': ('propputref',)}
MARKS = {'^': 0xFE, ']': 0xFD, '\\': 0xFC}  # as the table writes them


class Row:
    """One line: verb, object, member, arguments, what is expected or assigned."""

    def __init__(self, number, text):
        self.number = number
        verb, rest = text.split(None, 1)
        self.verb = verb.rstrip('*')
        self.has_gap = verb.endswith('*')
        self.expected = None
        if '==' in rest:
            rest, expected = rest.split('==')
            self.expected = TOKEN.findall(expected)
        tokens = TOKEN.findall(rest)
        self.target = None
        if self.verb == 'let':
            self.target = tokens[0]
            tokens = tokens[2:]
        self.words = tokens
        self.arguments = []
        if '.' in tokens:
            self.object, _, self.member = tokens[:3]
            rest = tokens[3:]
            if rest[:1] == ['(']:
                end = rest.index(')')
                self.arguments = self.split(rest[1:end])
                rest = rest[end + 1:]
            if self.verb in ('put', 'set'):
                self.arguments.append(rest[1])

    @staticmethod
    def split(tokens):
        arguments = [None]  # None: left out
        for token in tokens:
            if token == ',':
                arguments.append(None)
            else:
                arguments[-1] = token
        return arguments if tokens else []


class Table:
    def __init__(self, calls, idl_path):
        library = idl.read(idl_path)
        self.interfaces = {d.name: d for d in library.members if d.kind == 'interface'}
        self.rows = []
        self.types = {}      # of objects, by their name in the table
        self.variables = {}  # by-reference variables: name -> type
        for number, line in enumerate(Path(calls).read_text(encoding='utf-8').splitlines(), 1):
            if line.strip() and not line.startswith('#'):
                self.rows.append(Row(number, line))

    def member(self, row):
        """The IDL's member for a row; None for the objects of the tests, which are in no IDL."""
        interface = self.types.get(row.object)
        if interface not in self.interfaces:
            return None
        for m in self.interfaces[interface].members:
            if m.name == row.member and m.kind in KINDS[row.verb]:
                return m
        sys.exit(f'line {row.number}: {interface} has no such {row.verb} {row.member}')

    def note_types(self, row, member):
        if row.verb == 'let':
            self.types[row.target] = member.result.type.rstrip('*') if member else 'IDispatch'

    def covered(self, row, member):
        return name_of(self.types[row.object], member) if member else ''


def name_of(interface, member):
    kind = {'method': '', 'propget': ' get', 'propput': ' put', 'propputref': ' set'}[member.kind]
    return f'{interface[1:]}.{member.name}{kind}'


def all_names(table):
    return [name_of(i.name, m) for i in table.interfaces.values() for m in i.members]


def text_pieces(token):
    """A quoted text as runs of ordinary text and codes of marks."""
    run = ''
    for unit in token[1:-1].replace('""', '"'):
        if unit in MARKS:
            if run:
                yield run
            yield MARKS[unit]
            run = ''
        else:
            run += unit
    if run:
        yield run


class VbScript:
    name = 'calls.vbs'
    comment = "'"

    def value(self, token):
        if token is None:
            return ''
        if token.startswith('"'):
            # Marks as codes would depend on the code page.
            has_marks = any(isinstance(piece, int) for piece in text_pieces(token))
            return f'setup.Marked({token})' if has_marks else token
        return token

    def row(self, row, member, covered):
        key, arguments = f'{row.number}, "{covered}"', ', '.join(map(self.value, row.arguments))
        if row.verb == 'new':
            return [f'Set {row.words[0]} = CreateObject({self.value(row.words[2])})']
        if row.verb == 'var':
            return [f'{row.words[0]} = {self.value(row.words[2])}']
        if row.verb == 'drop':
            return [f'Set {name} = Nothing' for name in row.words]
        if row.verb == 'is':
            return [f'CheckIs {row.number}, {row.words[0]}, {self.value(row.expected[0])}']
        if row.verb == 'each':
            return [f'CheckEach {row.number}, "_NewEnum", {row.words[0]}, '
                    f'{self.value(row.expected[0])}']
        place = f'{row.object}.{row.member}'
        if row.verb in ('put', 'set'):
            *index, new = map(self.value, row.arguments)
            place += f'({", ".join(index)})' if index else ''
            return ['Begin', f'{"Set " if row.verb == "set" else ""}{place} = {new}',
                    f'Done {key}']
        if row.verb == 'call':
            return ['Begin', f'{place} {arguments}', f'Done {key}']
        assign = 'Set ' if member and is_object(member) else ''
        place += f'({arguments})'
        if row.verb == 'let':
            return ['Begin', f'Set {row.target} = {place}', f'Done {key}']
        if row.verb == 'fail':
            given = ', '.join(map(self.value, row.expected))
            return ['Begin', f'{assign}result = {place}', f'Failed {key}, {given}']
        return ['Begin', f'{assign}result = {place}', f'Check {key}, {self.value(row.expected[0])}']

    def end(self, names):
        return [f'Covered "{name}"' for name in names] + ['Finish']


class JScript:
    name = 'calls.js'
    comment = '//'

    def value(self, token):
        words = {None: 'undefined', 'True': 'true', 'False': 'false', 'Nothing': 'null',
                 'Empty': 'undefined'}
        if token in words:
            return words[token]
        if token.startswith('"'):
            pieces = [f'\\u{p:04x}' if isinstance(p, int) else p.replace('"', '\\"')
                      for p in text_pieces(token)]
            return f'"{"".join(pieces)}"'
        return token

    def row(self, row, member, covered):
        arguments = list(row.arguments)
        while arguments and arguments[-1] is None:
            arguments.pop()
        arguments = ', '.join(map(self.value, arguments))
        if row.verb == 'new':
            return [f'var {row.words[0]} = new ActiveXObject({self.value(row.words[2])});']
        if row.verb == 'var':
            return [f'var {row.words[0]} = {self.value(row.words[2])};']
        if row.verb == 'drop':
            return [f'{name} = null;' for name in row.words]
        if row.verb == 'is' or row.has_gap:
            return []  # this language passes by value: what a member gives back stays behind
        if row.verb == 'each':
            return [f'checkEach({row.number}, "_NewEnum", {row.words[0]}, '
                    f'{self.value(row.expected[0])});']
        place = f'{row.object}.{row.member}'
        if row.verb in ('put', 'set'):
            *index, new = map(self.value, row.arguments)
            place += f'({", ".join(index)})' if index else ''
            code = f'{place} = {new};'
        else:
            asks = member is None or member.kind == 'method' or row.arguments
            code = f'{place}({arguments});' if asks else f'{place};'
        key = f'{row.number}, "{covered}"'
        if row.verb == 'let':
            return [f'var {row.target};',
                    f'done({key}, function () {{ {row.target} = {code} }});']
        if row.verb in ('get', 'fail'):
            given = ', '.join(map(self.value, row.expected))
            check = 'check' if row.verb == 'get' else 'fails'
            return [f'{check}({key}, function () {{ return {code} }}, {given});']
        return [f'done({key}, function () {{ {code} }});']

    def end(self, names):
        return [f'covered("{name}");' for name in names] + ['finish();']


def is_object(member):
    return member.result is not None and (
        member.result.type.startswith('_') or member.result.type in ('IDispatch**', 'IUnknown**'))


class Cpp:
    """Common to both C++ clients: rows become statements of a function body."""
    comment = '//'
    storage = {'text': ('Bstr', 'Bstr({})'), 'long': ('long', '{}'), 'short': ('short', '{}'),
               'variant': ('Variant', 'Value({})')}

    def __init__(self, table):
        self.table = table

    def text(self, token):
        pieces = [f'L"\\x{p:02X}"' if isinstance(p, int) else
                  'L"' + p.replace('\\', '\\\\').replace('"', '\\"') + '"'
                  for p in text_pieces(token)]
        return ' '.join(pieces) or 'L""'

    def expected(self, token):
        return self.text(token if token.startswith('"') else f'"{token}"')

    def value(self, token):
        """A Variant of the token."""
        words = {None: 'Variant::Missing()', 'True': 'Value(true)', 'False': 'Value(false)',
                 'Nothing': 'Value(static_cast<IDispatch*>(nullptr))', 'Empty': 'Variant()'}
        if token in words:
            return words[token]
        if token.startswith('"'):
            return f'Value({self.text(token)})'
        if token in self.table.types:
            return f'Value({token}.get())'
        if token in self.table.variables:
            return f'Read({token})'
        return f'Value({token})'

    def row(self, row, member, covered):
        number = row.number
        if row.verb == 'new':
            return [self.create(row)]
        if row.verb == 'var':
            name, kind = row.words[0], row.words[1]
            new = name not in self.table.variables
            self.table.variables[name] = kind
            type_name, init = self.storage[kind]
            value = row.words[2]
            value = self.text(value) if value.startswith('"') else value
            return [f'{type_name + " " if new else ""}{name} = {init.format(value)};']
        if row.verb == 'drop':
            return [f'{name}.reset();' for name in row.words]
        if row.verb == 'is':
            return [f'client.is({number}, Read({row.words[0]}), '
                    f'{self.expected(row.expected[0])});']
        if row.verb == 'each':
            return [f'client.each({number}, {row.words[0]}.get(), '
                    f'{self.expected(row.expected[0])});']
        call = self.call(row, member)
        key = f'{number}, "{covered}"'
        if row.verb == 'fail':
            error = row.expected[0], *map(self.text, row.expected[1:])
            return [f'client.failed({key}, {call}, {{{", ".join(error)}}});']
        if row.verb == 'let':
            return self.let(row, member, key, call)
        expected = self.expected(row.expected[0]) if row.verb == 'get' else 'kAnything'
        return [f'client.check({key}, {call}, {expected});']

    def end(self, names):
        return [f'client.covered("{name}");' for name in names]


class Named(Cpp):
    name = 'calls_named.inc'

    def create(self, row):
        return f'ComPtr<IDispatch> {row.words[0]} = client.create({self.text(row.words[2])});'

    def argument(self, token, parameter):
        if token in self.table.variables and parameter and '*' in parameter.type:
            return f'ByRefTo({token})'
        if token is None and parameter and parameter.type == 'BSTR*':
            return 'client.leftOutText()'
        return self.value(token)

    def call(self, row, member):
        parameters = member.arguments if member else []
        # The platform's dispatcher has nothing for a text by reference that is left out at the end.
        for parameter in parameters[len(row.arguments):]:
            if parameter.type == 'BSTR*':
                row.arguments.append(None)
        given = [self.argument(t, parameters[i] if i < len(parameters) else None)
                 for i, t in enumerate(row.arguments)]
        verb = {'put': 'put', 'set': 'set'}.get(row.verb, 'call')
        return f'client.{verb}({row.object}.get(), L"{row.member}", {{{", ".join(given)}}})'

    def let(self, row, member, key, call):
        return [f'ComPtr<IDispatch> {row.target} = client.object({key}, {call});']


class Typed(Cpp):
    name = 'calls_typed.inc'

    def create(self, row):
        interface = self.table.types[row.words[0]]
        return f'auto {row.words[0]} = client.create<{interface}>({self.text(row.words[2])});'

    def argument(self, token, parameter, temporaries):
        t = parameter.type
        if token in self.table.variables and t.endswith('*') and t != 'IDispatch*':
            return f'{token}.inOut()' if self.table.variables[token] not in ('long', 'short') \
                else f'&{token}'
        if t in ('short', 'long', 'EnumDisplayType'):
            return f'static_cast<{t}>({token or parameter.default or 0})'
        if t == 'VARIANT_BOOL':
            return f'VARIANT_{token.upper()}'
        if t == 'BSTR' and token in self.table.variables:
            return f'{token}.get()'
        if t == 'IDispatch*':
            return 'nullptr' if token == 'Nothing' else f'{token}.get()'
        name = f'given{len(temporaries)}'
        if t in ('BSTR', 'BSTR*'):
            text = self.text(token) if token else 'L""'
            temporaries.append(f'Bstr {name}({text});')
            return f'{name}.get()' if t == 'BSTR' else f'{name}.inOut()'
        if t in ('VARIANT', 'VARIANT*'):
            temporaries.append(f'Variant {name} = {self.value(token)};')
            return f'{name}.get()' if t == 'VARIANT' else f'{name}.inOut()'
        if t in ('IDispatch**', ):
            source = 'nullptr' if token == 'Nothing' else f'{token}.get()'
            temporaries.append(f'ComPtr<IDispatch> {name}({source});')
            return f'{name}.inOut()'
        number = t.rstrip('*')
        temporaries.append(f'{number} {name} = {token};')
        return f'&{name}'

    def call(self, row, member):
        if member is None:  # the objects of the tests have no interface of their own
            given = ', '.join(map(self.value, row.arguments))
            return f'client.call({row.object}.get(), L"{row.member}", {{{given}}})'
        temporaries = []
        given = row.arguments + [None] * (len(member.arguments) - len(row.arguments))
        if row.verb == 'put' and len(row.arguments) < len(member.arguments):
            given = [None] * (len(member.arguments) - len(row.arguments)) + row.arguments
        arguments = [self.argument(t, p, temporaries) for t, p in zip(given, member.arguments)]
        prefix = {'method': '', 'propget': 'get_', 'propput': 'put_', 'propputref': 'putref_'}
        method = f'{row.object}->{prefix[member.kind]}{member.name}'
        if member.result:
            result = member.result.type[:-1]
            temporaries.append(f'{result} result{{}};')
            arguments.append('&result')
            answer = f'client.taken(code, {"Flag" if result == "VARIANT_BOOL" else "Result"}(result))'
        else:
            answer = 'client.taken(code, Variant())'
        return (f'[&] {{ {" ".join(temporaries)} SetErrorInfo(0, nullptr); '
                f'const HRESULT code = {method}({", ".join(arguments)}); return {answer}; }}()')

    def let(self, row, member, key, call):
        interface = self.table.types[row.target]
        return [f'ComPtr<{interface}> {row.target} = client.object<{interface}>({key}, {call});']


def main(calls, idl_path, folder):
    for make in (lambda t: VbScript(), lambda t: JScript(), Named, Typed):
        table = Table(calls, idl_path)
        client = make(table)
        lines = [f'{client.comment} Made from {Path(calls).name}; do not edit.']
        for row in table.rows:
            if row.verb == 'new':
                table.types[row.words[0]] = row.words[1]
            needs = row.verb in KINDS
            member = table.member(row) if needs else None
            covered = table.covered(row, member) if needs else ''
            if row.verb == 'var' and isinstance(client, (VbScript, JScript)):
                table.variables[row.words[0]] = row.words[1]
            table.note_types(row, member)
            lines += client.row(row, member, covered)
        lines += client.end(all_names(table))
        head = Path(__file__).with_name('support' + Path(client.name).suffix)
        text = head.read_text(encoding='utf-8') if head.exists() else ''
        Path(folder, client.name).write_text(text + '\n'.join(lines) + '\n', encoding='utf-8')


main(*sys.argv[1:])
