#!/usr/bin/env python3
"""Writes C++ bindings (records, unions, enums, interfaces with proxies and stubs, and their byte
encoding) for .mojom files.

Usage: mojom_generator.py --output-dir DIR --include-prefix PREFIX FILE.mojom
Writes DIR/FILE.mojom.h and DIR/FILE.mojom.cc; the header is included as "PREFIX/FILE.mojom.h".
"""

import argparse
import os
import sys

from mojom_parser import Enum, Interface, MojomError, Struct, Union, parse
from mojom_types import TypeMapper
import mojom_wire


def camel(name: str) -> str:
    return "".join(part[:1].upper() + part[1:] for part in name.split("_"))


def load_kinds(module, seen=None):
    """Every name the module can use: its own declarations and those of its imports."""
    seen = seen if seen is not None else set()
    kinds = {}
    for imported in module.imports:
        path = os.path.join(os.path.dirname(module.path), imported)
        if path in seen:
            continue
        seen.add(path)
        other = parse(path)
        kinds.update(load_kinds(other, seen))
        kinds.update(other.declared())
    kinds.update(module.declared())
    return kinds


def record_order(module, mapper):
    """Records and unions ordered so that each comes after those it holds."""
    records = {r.name: r for r in module.structs + module.unions if getattr(r, "cpp_type", None) is None}
    ordered, visiting, done = [], set(), set()

    def uses(ref):
        if ref.name == "array":
            yield from uses(ref.element)
        elif ref.name in records:
            yield ref.name

    def visit(name):
        if name in done:
            return
        visiting.add(name)
        for record_field in records[name].fields:
            mapper.check(record_field.type)
            for used in uses(record_field.type):
                if used in visiting:
                    raise MojomError(f"{module.path}:{record_field.type.line}: {used} contains itself")
                visit(used)
        visiting.discard(name)
        done.add(name)
        ordered.append(records[name])

    for name in records:
        visit(name)
    return ordered


class Writer:
    def __init__(self):
        self.lines = []

    def __call__(self, text=""):
        self.lines.extend(text.split("\n") if text else [""])

    def text(self):
        return "\n".join(self.lines) + "\n"


def open_namespace(out, namespace):
    for part in namespace.split("."):
        out(f"namespace {part} {{")
    out()


def close_namespace(out, namespace):
    for part in reversed(namespace.split(".")):
        out(f"}}  // namespace {part}")


def signature(mapper, params, callback=None):
    parts = [f"{mapper.param(p.type)} {p.name}" for p in params]
    if callback:
        parts.append(f"const {callback}& callback")
    return ", ".join(parts)


def write_enum(out, enum):
    out(f"enum class {enum.name} : int32_t {{")
    for value in enum.values:
        out(f"  {value.name} = {value.value},")
    values = [v.value for v in enum.values]
    out(f"  kMinValue = {min(values)},")
    out(f"  kMaxValue = {max(values)},")
    out("};")
    out()
    out(f"inline bool IsKnownEnumValue({enum.name} value) {{")
    out("  switch (value) {")
    seen = set()
    for value in enum.values:
        if value.value not in seen:
            seen.add(value.value)
            out(f"    case {enum.name}::{value.name}:")
    out("      return true;")
    out("    default:")
    out("      return false;")
    out("  }")
    out("}")
    out()


def write_struct_decl(out, mapper, struct):
    name = struct.name
    out(f"class {name} {{")
    out(" public:")
    out("  template <typename... Args>")
    out(f"  static {name}Ptr New(Args&&... args) {{")
    out(f"    return {name}Ptr::New(std::forward<Args>(args)...);")
    out("  }")
    out()
    out(f"  {name}();")
    if struct.fields:
        explicit = "explicit " if len(struct.fields) == 1 else ""
        params = ", ".join(f"{mapper.storage(f.type)} {f.name}_in" for f in struct.fields)
        out(f"  {explicit}{name}({params});")
    out(f"  ~{name}();")
    out(f"  {name}({name}&&) noexcept;")
    out(f"  {name}& operator=({name}&&) noexcept;")
    out()
    out(f"  {name}Ptr Clone() const;")
    out(f"  bool Equals(const {name}& other) const;")
    out()
    for record_field in struct.fields:
        init = mapper.default_init(record_field.type)
        init_text = f"{{{init}}}" if init and init != "{}" else ("{}" if init == "{}" else "")
        if record_field.type.name == "array" and record_field.type.fixed_size is not None:
            init_text = ""
        out(f"  {mapper.storage(record_field.type)} {record_field.name}{init_text};")
    out("};")
    out()


def write_struct_impl(out, mapper, struct):
    name = struct.name
    fixed = [f for f in struct.fields if f.type.name == "array" and f.type.fixed_size is not None]
    inits = ", ".join(f"{f.name}({f.type.fixed_size})" for f in fixed)
    out(f"{name}::{name}(){' : ' + inits if inits else ''} {{}}")
    if struct.fields:
        params = ", ".join(f"{mapper.storage(f.type)} {f.name}_in" for f in struct.fields)
        inits = ", ".join(f"{f.name}(std::move({f.name}_in))" for f in struct.fields)
        out(f"{name}::{name}({params}) : {inits} {{}}")
    out(f"{name}::~{name}() = default;")
    out(f"{name}::{name}({name}&&) noexcept = default;")
    out(f"{name}& {name}::operator=({name}&&) noexcept = default;")
    out()
    out(f"{name}Ptr {name}::Clone() const {{")
    args = ", ".join(f"mojo::internal::Clone({f.name})" for f in struct.fields)
    out(f"  return New({args});")
    out("}")
    out()
    out(f"bool {name}::Equals(const {name}& other) const {{")
    if struct.fields:
        checks = " &&\n         ".join(
            f"mojo::internal::Equals({f.name}, other.{f.name})" for f in struct.fields)
        out(f"  return {checks};")
    else:
        out("  (void)other;")
        out("  return true;")
    out("}")
    out()
    out("namespace internal {")
    out(f"bool Validate{name}(const {name}& value) {{")
    conditions = [c for c in (mapper.validation(f.type, f"value.{f.name}") for f in struct.fields) if c]
    if conditions:
        out("  return " + " &&\n         ".join(conditions) + ";")
    else:
        out("  (void)value;")
        out("  return true;")
    out("}")
    out("}  // namespace internal")
    out()


def write_union_decl(out, mapper, union):
    name = union.name
    out(f"class {name} {{")
    out(" public:")
    out("  enum class Tag : uint32_t {")
    for member in union.fields:
        out(f"    {member.name.upper()},")
    out("  };")
    out()
    out("  // Holds the first member, default-initialised, until a setter picks another.")
    out(f"  static {name}Ptr New() {{ return {name}Ptr::New(); }}")
    for index, member in enumerate(union.fields):
        out(f"  static {name}Ptr New{camel(member.name)}({mapper.storage(member.type)} value) {{")
        out(f"    {name}Ptr result = {name}Ptr::New();")
        out(f"    result->set_{member.name}(std::move(value));")
        out("    return result;")
        out("  }")
    out()
    out(f"  {name}();")
    out(f"  ~{name}();")
    out(f"  {name}Ptr Clone() const;")
    out(f"  bool Equals(const {name}& other) const;")
    out()
    out("  Tag which() const { return static_cast<Tag>(data_.index()); }")
    for index, member in enumerate(union.fields):
        storage = mapper.storage(member.type)
        out(f"  bool is_{member.name}() const {{ return data_.index() == {index}; }}")
        out(f"  {storage}& get_{member.name}() {{ return *std::get_if<{index}>(&data_); }}")
        out(f"  const {storage}& get_{member.name}() const {{ return *std::get_if<{index}>(&data_); }}")
        out(f"  void set_{member.name}({storage} value) {{ data_.emplace<{index}>(std::move(value)); }}")
    out()
    out(" private:")
    types = ", ".join(mapper.storage(m.type) for m in union.fields)
    out(f"  std::variant<{types}> data_;")
    out("};")
    out()


def write_union_impl(out, mapper, union):
    name = union.name
    out(f"{name}::{name}() = default;")
    out(f"{name}::~{name}() = default;")
    out()
    out(f"{name}Ptr {name}::Clone() const {{")
    out(f"  {name}Ptr result = {name}Ptr::New();")
    out("  switch (data_.index()) {")
    for index, member in enumerate(union.fields):
        out(f"    case {index}:")
        out(f"      result->set_{member.name}(mojo::internal::Clone(get_{member.name}()));")
        out("      break;")
    out("  }")
    out("  return result;")
    out("}")
    out()
    out(f"bool {name}::Equals(const {name}& other) const {{")
    out("  if (data_.index() != other.data_.index()) return false;")
    out("  switch (data_.index()) {")
    for index, member in enumerate(union.fields):
        out(f"    case {index}:")
        out(f"      return mojo::internal::Equals(get_{member.name}(), other.get_{member.name}());")
    out("  }")
    out("  return false;")
    out("}")
    out()
    out("namespace internal {")
    out(f"bool Validate{name}(const {name}& value) {{")
    out("  switch (value.which()) {")
    for member in union.fields:
        condition = mapper.validation(member.type, f"value.get_{member.name}()")
        out(f"    case {name}::Tag::{member.name.upper()}:")
        out(f"      return {condition or 'true'};")
    out("  }")
    out("  return false;")
    out("}")
    out("}  // namespace internal")
    out()


def callback_type(mapper, method):
    types = ", ".join(mapper.param(p.type) for p in method.response)
    return f"base::RepeatingCallback<void({types})>"


def write_interface_decl(out, mapper, module, interface):
    name = interface.name
    out(f"class {name} {{")
    out(" public:")
    out(f'  static constexpr const char* Name_ = "{module.namespace}.{name}";')
    out(f"  using Proxy_ = {name}Proxy;")
    out(f"  using Stub_ = {name}Stub;")
    out("  static bool RequestValidator_(const mojo::Message& message);")
    out("  static bool ResponseValidator_(const mojo::Message& message);")
    mojom_wire.write_interface_decls(out)
    out()
    out(f"  virtual ~{name}() = default;")
    out()
    for method in interface.methods:
        callback = None
        if method.response is not None:
            callback = f"{method.name}Callback"
            out(f"  using {callback} = {callback_type(mapper, method)};")
        out(f"  virtual void {method.name}({signature(mapper, method.params, callback)}) = 0;")
    out("};")
    out()
    out(f"class {name}Proxy : public {name} {{")
    out(" public:")
    out(f"  explicit {name}Proxy(mojo::internal::Router* router) : router_(router) {{}}")
    for method in interface.methods:
        callback = f"{method.name}Callback" if method.response is not None else None
        out(f"  void {method.name}({signature(mapper, method.params, callback)}) override;")
    out()
    out(" private:")
    out("  mojo::internal::Router* router_;")
    out("};")
    out()
    out(f"class {name}Stub : public mojo::MessageReceiverWithResponder {{")
    out(" public:")
    out(f"  explicit {name}Stub({name}* impl) : impl_(impl) {{}}")
    out("  bool Accept(mojo::Message* message) override;")
    out("  bool AcceptWithResponder(mojo::Message* message,")
    out("                           std::unique_ptr<mojo::MessageReceiverWithStatus> responder) override;")
    out()
    out(" private:")
    out(f"  {name}* impl_;")
    out("};")
    out()


def payload_struct(out, mapper, struct_name, params):
    out(f"struct {struct_name} final : mojo::internal::MessagePayload {{")
    for param in params:
        init = mapper.default_init(param.type)
        suffix = "{}" if init == "{}" else ""
        out(f"  {mapper.payload_storage(param.type)} {param.name}{suffix};")
    out("};")
    out()


def payload_condition(mapper, params, holder):
    conditions = []
    for param in params:
        condition = mapper.validation(param.type, f"{holder}->{param.name}")
        if condition:
            conditions.append(condition)
    return conditions


def fill_payload(out, mapper, params, indent):
    for param in params:
        kind = mapper.kind(param.type)
        if isinstance(kind, Interface) and not param.type.is_request:
            out(f"{indent}payload->{param.name} = {param.name}.PassInterface();")
        elif mapper.passes_by_move(param.type) or mapper.is_pod(param.type):
            out(f"{indent}payload->{param.name} = std::move({param.name});")
        else:
            out(f"{indent}payload->{param.name} = {param.name};")


def call_arguments(out, mapper, params, holder, indent):
    """Binds received interface pointers on this sequence; returns the argument list."""
    arguments = []
    for param in params:
        kind = mapper.kind(param.type)
        if isinstance(kind, Interface) and not param.type.is_request:
            out(f"{indent}{kind.name}Ptr {param.name};")
            out(f"{indent}{param.name}.Bind(std::move({holder}->{param.name}));")
            arguments.append(f"std::move({param.name})")
        else:
            arguments.append(f"std::move({holder}->{param.name})")
    return ", ".join(arguments)


def write_interface_impl(out, mapper, module, interface):
    name = interface.name
    out("namespace internal {")
    out("namespace {")
    out()
    for method in interface.methods:
        prefix = f"{name}_{method.name}"
        out(f"constexpr uint32_t k{prefix}_Name = {method.ordinal};")
        payload_struct(out, mapper, f"{prefix}_Params", method.params)
        if method.response is not None:
            payload_struct(out, mapper, f"{prefix}_ResponseParams", method.response)
            callback = f"{name}::{method.name}Callback"
            out(f"class {prefix}_ForwardToCallback final : public mojo::MessageReceiver {{")
            out(" public:")
            out(f"  explicit {prefix}_ForwardToCallback({callback} callback)")
            out("      : callback_(std::move(callback)) {}")
            out("  bool Accept(mojo::Message* message) override {")
            out(f"    auto* payload = message->payload_as<{prefix}_ResponseParams>();")
            arguments = call_arguments(out, mapper, method.response, "payload", "    ")
            if not method.response:
                out("    (void)payload;")
            out(f"    callback_.Run({arguments});")
            out("    return true;")
            out("  }")
            out()
            out(" private:")
            out(f"  {callback} callback_;")
            out("};")
            out()
            out(f"class {prefix}_ProxyToResponder {{")
            out(" public:")
            out(f"  static {callback} CreateCallback(")
            out("      std::unique_ptr<mojo::MessageReceiverWithStatus> responder) {")
            out(f"    auto proxy = std::make_shared<{prefix}_ProxyToResponder>(std::move(responder));")
            out(f"    return base::BindRepeating(&{prefix}_ProxyToResponder::Run, proxy);")
            out("  }")
            out()
            out(f"  explicit {prefix}_ProxyToResponder(")
            out("      std::unique_ptr<mojo::MessageReceiverWithStatus> responder)")
            out("      : responder_(std::move(responder)) {}")
            out()
            out("  // Only the first run answers; the reply may be sent from any thread.")
            out(f"  void Run({signature(mapper, method.response)}) {{")
            out("    std::unique_ptr<mojo::MessageReceiverWithStatus> responder;")
            out("    {")
            out("      std::lock_guard<std::mutex> lock(mutex_);")
            out("      responder = std::move(responder_);")
            out("    }")
            out("    if (!responder) return;")
            out(f"    auto payload = std::make_unique<{prefix}_ResponseParams>();")
            fill_payload(out, mapper, method.response, "    ")
            out(f'    mojo::Message message(k{prefix}_Name, mojo::Message::kFlagIsResponse, "{module.namespace}.{name}",')
            out(f'                          "{method.name}", std::move(payload));')
            out("    responder->Accept(&message);")
            out("  }")
            out()
            out(" private:")
            out("  std::mutex mutex_;")
            out("  std::unique_ptr<mojo::MessageReceiverWithStatus> responder_;")
            out("};")
            out()
    out("}  // namespace")
    out("}  // namespace internal")
    out()
    for method in interface.methods:
        prefix = f"{name}_{method.name}"
        callback = f"{method.name}Callback" if method.response is not None else None
        out(f"void {name}Proxy::{method.name}({signature(mapper, method.params, callback)}) {{")
        out(f"  auto payload = std::make_unique<internal::{prefix}_Params>();")
        fill_payload(out, mapper, method.params, "  ")
        flags = "mojo::Message::kFlagExpectsResponse" if callback else "0"
        out(f'  mojo::Message message(internal::k{prefix}_Name, {flags}, Name_, "{method.name}",')
        out("                        std::move(payload));")
        if callback:
            out("  router_->SendWithResponder(")
            out("      std::move(message),")
            out(f"      std::make_unique<internal::{prefix}_ForwardToCallback>(callback));")
        else:
            out("  router_->Send(std::move(message));")
        out("}")
        out()
    for with_responder in (False, True):
        if with_responder:
            out(f"bool {name}Stub::AcceptWithResponder(")
            out("    mojo::Message* message, std::unique_ptr<mojo::MessageReceiverWithStatus> responder) {")
        else:
            out(f"bool {name}Stub::Accept(mojo::Message* message) {{")
        out("  switch (message->name()) {")
        for method in interface.methods:
            if (method.response is not None) != with_responder:
                continue
            prefix = f"{name}_{method.name}"
            out(f"    case internal::k{prefix}_Name: {{")
            out(f"      auto* payload = message->payload_as<internal::{prefix}_Params>();")
            arguments = call_arguments(out, mapper, method.params, "payload", "      ")
            if not method.params:
                out("      (void)payload;")
            if with_responder:
                out(f"      auto callback = internal::{prefix}_ProxyToResponder::CreateCallback(std::move(responder));")
                arguments = ", ".join(a for a in (arguments, "callback") if a)
            out(f"      impl_->{method.name}({arguments});")
            out("      return true;")
            out("    }")
        out("    default:")
        if with_responder:
            out("      (void)responder;")
        out("      return false;")
        out("  }")
        out("}")
        out()
    for response in (False, True):
        out(f"bool {name}::{'ResponseValidator_' if response else 'RequestValidator_'}(const mojo::Message& message) {{")
        out("  switch (message.name()) {")
        for method in interface.methods:
            if response and method.response is None:
                continue
            prefix = f"{name}_{method.name}"
            params = method.response if response else method.params
            struct_name = f"{prefix}_{'ResponseParams' if response else 'Params'}"
            out(f"    case internal::k{prefix}_Name: {{")
            if not response:
                expects = "true" if method.response is not None else "false"
                out(f"      if (message.has_flag(mojo::Message::kFlagExpectsResponse) != {expects}) return false;")
            out(f"      const auto* payload = message.payload_as<internal::{struct_name}>();")
            conditions = ["payload != nullptr"] + payload_condition(mapper, params, "payload")
            out("      return " + " &&\n             ".join(conditions) + ";")
            out("    }")
        out("    default:")
        out("      return false;")
        out("  }")
        out("}")
        out()


def generate(module, include_prefix):
    kinds = load_kinds(module)
    mapper = TypeMapper(kinds, module.path)
    base = os.path.basename(module.path)
    guard_free_include = f"{include_prefix}/{base}.h" if include_prefix else f"{base}.h"
    records = record_order(module, mapper)
    for interface in module.interfaces:
        for method in interface.methods:
            for param in method.params + (method.response or []):
                mapper.check(param.type)

    header = Writer()
    header(f"// Generated from {base}; do not edit.")
    header("#pragma once")
    header()
    for system in ("algorithm", "cstdint", "memory", "string", "utility", "variant", "vector"):
        header(f"#include <{system}>")
    header()
    header('#include "base/callback.h"')
    for runtime in ("binding", "interface_ptr", "interface_request", "message", "struct_ptr",
                    "lib/wire"):
        header(f'#include "mojo/public/cpp/bindings/{runtime}.h"')
    for struct in module.structs:
        if struct.cpp_header:
            header(f'#include "{struct.cpp_header}"')
            header(f'#include "{mojom_wire.traits_header(struct.cpp_header)}"')
    for imported in module.imports:
        prefix = f"{include_prefix}/" if include_prefix else ""
        header(f'#include "{prefix}{os.path.basename(imported)}.h"')
    header()
    open_namespace(header, module.namespace)
    for enum in module.enums:
        write_enum(header, enum)
    for record in records:
        header(f"class {record.name};")
        header(f"using {record.name}Ptr = mojo::StructPtr<{record.name}>;")
    for interface in module.interfaces:
        header(f"class {interface.name};")
        header(f"class {interface.name}Proxy;")
        header(f"class {interface.name}Stub;")
        header(f"using {interface.name}Ptr = mojo::InterfacePtr<{interface.name}>;")
        header(f"using {interface.name}PtrInfo = mojo::InterfacePtrInfo<{interface.name}>;")
        header(f"using {interface.name}Request = mojo::InterfaceRequest<{interface.name}>;")
    header()
    for record in records:
        if isinstance(record, Union):
            write_union_decl(header, mapper, record)
        else:
            write_struct_decl(header, mapper, record)
    for interface in module.interfaces:
        write_interface_decl(header, mapper, module, interface)
    header("namespace internal {")
    for record in records:
        header(f"bool Validate{record.name}(const {record.name}& value);")
        mojom_wire.write_record_decls(header, record)
    header("}  // namespace internal")
    header()
    close_namespace(header, module.namespace)

    source = Writer()
    source(f"// Generated from {base}; do not edit.")
    source(f'#include "{guard_free_include}"')
    source()
    source("#include <mutex>")
    source()
    source('#include "base/bind.h"')
    source('#include "mojo/public/cpp/bindings/lib/clone_equals.h"')
    source('#include "mojo/public/cpp/bindings/lib/router.h"')
    source()
    open_namespace(source, module.namespace)
    for record in records:
        if isinstance(record, Union):
            write_union_impl(source, mapper, record)
        else:
            write_struct_impl(source, mapper, record)
        mojom_wire.write_record(source, mapper, record)
    for interface in module.interfaces:
        write_interface_impl(source, mapper, module, interface)
        mojom_wire.write_interface(source, mapper, interface)
    close_namespace(source, module.namespace)
    return header.text(), source.text()


def main(argv):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--output-dir", required=True)
    parser.add_argument("--include-prefix", default="")
    parser.add_argument("mojom")
    args = parser.parse_args(argv)
    try:
        module = parse(args.mojom)
        header, source = generate(module, args.include_prefix)
    except (MojomError, OSError) as error:
        print(f"mojom_generator: {error}", file=sys.stderr)
        return 1
    os.makedirs(args.output_dir, exist_ok=True)
    base = os.path.basename(args.mojom)
    for suffix, text in ((".h", header), (".cc", source)):
        path = os.path.join(args.output_dir, base + suffix)
        # Leave unchanged files alone so that dependants are not rebuilt.
        if os.path.exists(path):
            with open(path, encoding="utf-8") as handle:
                if handle.read() == text:
                    continue
        with open(path, "w", encoding="utf-8") as handle:
            handle.write(text)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
