"""The byte encoding of records, unions and messages: the C++ that writes and checks it.

Every value is written in declaration order, little-endian, with no padding: scalars at their
size, bool as one byte (0 or 1), enums as int32, strings and arrays as a uint32 count and the
items, records and unions behind one presence byte (0 null, 1 present), a union as its uint32 tag
and the member, a pipe end as a uint32 index into the message's ends (0xFFFFFFFF for none).
Every value takes at least one byte, so a count can never exceed the bytes left.
"""

import os

from mojom_parser import PRIMITIVES, Enum, Interface, MojomError, Union


def traits_header(cpp_header: str) -> str:
    """Where libmojo defines a typemapped C++ type's byte form: "a/b.h" pairs with
    "mojo/typemaps/a/b_wire_traits.h"."""
    return "mojo/typemaps/" + os.path.splitext(cpp_header)[0] + "_wire_traits.h"


def _interface_in_record(mapper, ref):
    raise MojomError(
        f"{mapper.path}:{ref.line}: interface pointers are supported only as method parameters")


def encode(mapper, ref, expr, indent, depth=0, top_level=False):
    """Statements that write `expr`, moving out any pipe end it holds."""
    if ref.name == "bool":
        return [f"{indent}writer.WriteBool({expr});"]
    if ref.name == "string":
        return [f"{indent}writer.WriteString({expr});"]
    if ref.name in PRIMITIVES:
        return [f"{indent}writer.WriteScalar({expr});"]
    if ref.name == "array":
        item = f"item{depth}"
        lines = [f"{indent}writer.WriteCount({expr}.size());",
                 f"{indent}for (auto&& {item} : {expr}) {{"]
        lines += encode(mapper, ref.element, item, indent + "  ", depth + 1)
        return lines + [f"{indent}}}"]
    kind = mapper.kind(ref)
    if isinstance(kind, Enum):
        return [f"{indent}writer.WriteScalar(static_cast<int32_t>({expr}));"]
    if isinstance(kind, Interface):
        if ref.is_request:
            return [f"{indent}writer.WriteEndpoint({expr}.PassMessagePipe(), "
                    f"mojo::internal::CodecOf<{kind.name}>());"]
        if not top_level:
            _interface_in_record(mapper, ref)
        return [f"{indent}writer.WriteEndpoint({expr}.PassHandle(), "
                f"mojo::internal::CodecOf<{kind.name}>());"]
    if mapper.is_typemapped(ref):
        return [f"{indent}writer.WriteBool(true);",
                f"{indent}mojo::internal::WireTraits<{kind.cpp_type}>::Write(writer, {expr});"]
    return [f"{indent}writer.WriteBool(!{expr}.is_null());",
            f"{indent}if (!{expr}.is_null()) internal::Encode{kind.name}(writer, *{expr});"]


def decode(mapper, ref, target, indent, depth=0, top_level=False):
    """Statements that read into `target`, returning false from the function on bad bytes."""
    fail = "return false;"
    if ref.name == "bool":
        return [f"{indent}if (!reader.ReadBool(&{target})) {fail}"]
    if ref.name == "string":
        return [f"{indent}if (!reader.ReadString(&{target})) {fail}"]
    if ref.name in PRIMITIVES:
        return [f"{indent}if (!reader.ReadScalar(&{target})) {fail}"]
    count, item, index = f"count{depth}", f"item{depth}", f"i{depth}"
    if ref.name == "array":
        lines = [f"{indent}{{",
                 f"{indent}  uint32_t {count} = 0;",
                 f"{indent}  if (!reader.ReadCount(&{count})) {fail}"]
        if ref.fixed_size is not None:
            lines.append(f"{indent}  if ({count} != {ref.fixed_size}u) {fail}")
        storage = mapper.storage(ref.element)
        lines += [f"{indent}  {target}.clear();",
                  f"{indent}  {target}.reserve({count});",
                  f"{indent}  for (uint32_t {index} = 0; {index} < {count}; ++{index}) {{",
                  f"{indent}    {storage} {item}{{}};"]
        lines += decode(mapper, ref.element, item, indent + "    ", depth + 1)
        return lines + [f"{indent}    {target}.push_back(std::move({item}));",
                        f"{indent}  }}",
                        f"{indent}}}"]
    kind = mapper.kind(ref)
    if isinstance(kind, Enum):
        lines = [f"{indent}{{",
                 f"{indent}  int32_t raw{depth} = 0;",
                 f"{indent}  if (!reader.ReadScalar(&raw{depth})) {fail}",
                 f"{indent}  {target} = static_cast<{kind.name}>(raw{depth});"]
        if not kind.extensible:
            lines.append(f"{indent}  if (!IsKnownEnumValue({target})) {fail}")
        return lines + [f"{indent}}}"]
    nullable = "true" if ref.nullable else "false"
    if isinstance(kind, Interface):
        if ref.is_request:
            wrapped = f"{kind.name}Request"
        elif top_level:
            wrapped = f"mojo::InterfacePtrInfo<{kind.name}>"
        else:
            _interface_in_record(mapper, ref)
        return [f"{indent}{{",
                f"{indent}  mojo::ScopedMessagePipeHandle handle{depth};",
                f"{indent}  if (!reader.ReadEndpoint(&handle{depth}, {nullable}, "
                f"mojo::internal::CodecOf<{kind.name}>())) {fail}",
                f"{indent}  {target} = {wrapped}(std::move(handle{depth}));",
                f"{indent}}}"]
    present = f"present{depth}"
    lines = [f"{indent}{{",
             f"{indent}  bool {present} = false;",
             f"{indent}  if (!reader.ReadBool(&{present})) {fail}"]
    if mapper.is_typemapped(ref):
        traits = f"mojo::internal::WireTraits<{kind.cpp_type}>"
        lines += [f"{indent}  if (!{present}) {fail}",
                  f"{indent}  if (!{traits}::Read(reader, &{target})) {fail}"]
    else:
        lines += [f"{indent}  if ({present}) {{",
                  f"{indent}    {target} = {kind.name}Ptr::New();",
                  f"{indent}    if (!internal::Decode{kind.name}(reader, {target}.get())) {fail}",
                  f"{indent}  }}"]
        if not ref.nullable:
            lines[-1] += f" else {{\n{indent}    {fail}\n{indent}  }}"
    return lines + [f"{indent}}}"]


def write_record_decls(out, record):
    name = record.name
    out(f"void Encode{name}(mojo::internal::WireWriter& writer, {name}& value);")
    out(f"bool Decode{name}(mojo::internal::WireReader& reader, {name}* value);")


def write_struct(out, mapper, struct):
    name = struct.name
    out("namespace internal {")
    out(f"void Encode{name}(mojo::internal::WireWriter& writer, {name}& value) {{")
    if not struct.fields:
        out("  (void)writer;")
        out("  (void)value;")
    for record_field in struct.fields:
        out("\n".join(encode(mapper, record_field.type, f"value.{record_field.name}", "  ")))
    out("}")
    out()
    out(f"bool Decode{name}(mojo::internal::WireReader& reader, {name}* value) {{")
    if not struct.fields:
        out("  (void)reader;")
        out("  (void)value;")
    for record_field in struct.fields:
        out("\n".join(decode(mapper, record_field.type, f"value->{record_field.name}", "  ")))
    out("  return true;")
    out("}")
    out("}  // namespace internal")
    out()


def write_union(out, mapper, union):
    name = union.name
    out("namespace internal {")
    out(f"void Encode{name}(mojo::internal::WireWriter& writer, {name}& value) {{")
    out("  writer.WriteScalar(static_cast<uint32_t>(value.which()));")
    out("  switch (value.which()) {")
    for member in union.fields:
        out(f"    case {name}::Tag::{member.name.upper()}:")
        out("\n".join(encode(mapper, member.type, f"value.get_{member.name}()", "      ")))
        out("      break;")
    out("  }")
    out("}")
    out()
    out(f"bool Decode{name}(mojo::internal::WireReader& reader, {name}* value) {{")
    out("  uint32_t tag = 0;")
    out("  if (!reader.ReadScalar(&tag)) return false;")
    out("  switch (tag) {")
    for index, member in enumerate(union.fields):
        out(f"    case {index}: {{")
        out(f"      {mapper.storage(member.type)} member{{}};")
        out("\n".join(decode(mapper, member.type, "member", "      ")))
        out(f"      value->set_{member.name}(std::move(member));")
        out("      return true;")
        out("    }")
    out("  }")
    out("  return false;")
    out("}")
    out("}  // namespace internal")
    out()


def write_record(out, mapper, record):
    if isinstance(record, Union):
        write_union(out, mapper, record)
    else:
        write_struct(out, mapper, record)


def write_interface_decls(out):
    out("  // Moves the message's arguments, pipe ends included, into bytes; false for a message")
    out("  // this interface does not define.")
    out("  static bool EncodeMessage_(mojo::Message* message, mojo::internal::WireMessage* out);")
    out("  // Checks the bytes against the definition before building the message; false, and")
    out("  // nothing built, when anything in them is out of place.")
    out("  static bool DecodeMessage_(mojo::internal::WireMessage* in, mojo::Message* out);")


def _encode_payload(out, mapper, struct_name, params, indent):
    out(f"{indent}auto* payload = message->payload_as<internal::{struct_name}>();")
    out(f"{indent}if (payload == nullptr) return false;")
    if params:
        out(f"{indent}mojo::internal::WireWriter writer(out);")
    for param in params:
        out("\n".join(encode(mapper, param.type, f"payload->{param.name}", indent, top_level=True)))
    out(f"{indent}return true;")


def _decode_payload(out, mapper, method, struct_name, params, indent):
    out(f"{indent}auto payload = std::make_unique<internal::{struct_name}>();")
    out(f"{indent}mojo::internal::WireReader reader(in);")
    for param in params:
        out("\n".join(decode(mapper, param.type, f"payload->{param.name}", indent, top_level=True)))
    out(f"{indent}if (!reader.AtEnd()) return false;")
    out(f'{indent}*out = mojo::Message(in->name, in->flags, Name_, "{method.name}",')
    out(f"{indent}                     std::move(payload));")
    out(f"{indent}out->set_request_id(in->request_id);")
    out(f"{indent}return true;")


def write_interface(out, mapper, interface):
    name = interface.name
    out(f"bool {name}::EncodeMessage_(mojo::Message* message, mojo::internal::WireMessage* out) {{")
    out("  out->name = message->name();")
    out("  out->flags = message->flags();")
    out("  out->request_id = message->request_id();")
    out("  out->bytes.clear();")
    out("  out->endpoints.clear();")
    out("  out->endpoint_codecs.clear();")
    out("  const bool is_response = message->has_flag(mojo::Message::kFlagIsResponse);")
    out("  switch (message->name()) {")
    for method in interface.methods:
        prefix = f"{name}_{method.name}"
        out(f"    case internal::k{prefix}_Name: {{")
        if method.response is not None:
            out("      if (is_response) {")
            _encode_payload(out, mapper, f"{prefix}_ResponseParams", method.response, "        ")
            out("      }")
        else:
            out("      if (is_response) return false;")
        _encode_payload(out, mapper, f"{prefix}_Params", method.params, "      ")
        out("    }")
    out("    default:")
    out("      return false;")
    out("  }")
    out("}")
    out()
    out(f"bool {name}::DecodeMessage_(mojo::internal::WireMessage* in, mojo::Message* out) {{")
    out("  switch (in->name) {")
    for method in interface.methods:
        prefix = f"{name}_{method.name}"
        out(f"    case internal::k{prefix}_Name: {{")
        if method.response is not None:
            out("      if (in->flags == mojo::Message::kFlagIsResponse) {")
            _decode_payload(out, mapper, method, f"{prefix}_ResponseParams",
                            method.response, "        ")
            out("      }")
            out("      if (in->flags != mojo::Message::kFlagExpectsResponse) return false;")
        else:
            out("      if (in->flags != 0) return false;")
        _decode_payload(out, mapper, method, f"{prefix}_Params", method.params, "      ")
        out("    }")
    out("    default:")
    out("      return false;")
    out("  }")
    out("}")
    out()
