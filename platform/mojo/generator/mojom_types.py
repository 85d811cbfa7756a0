"""How each mojom type looks in C++: storage, parameter form, validation, cloning."""

from mojom_parser import PRIMITIVES, Enum, Interface, MojomError, Struct, TypeRef, Union


class TypeMapper:
    def __init__(self, kinds, path):
        self.kinds = kinds  # name -> Enum | Struct | Union | Interface, imports included
        self.path = path

    def kind(self, ref: TypeRef):
        if ref.name in PRIMITIVES or ref.name == "array":
            return None
        declared = self.kinds.get(ref.name)
        if declared is None:
            raise MojomError(f"{self.path}:{ref.line}: unknown type {ref.name!r}")
        return declared

    def is_typemapped(self, ref: TypeRef) -> bool:
        kind = self.kind(ref)
        return isinstance(kind, Struct) and kind.cpp_type is not None

    def check(self, ref: TypeRef):
        if ref.name == "string" and ref.nullable:
            raise MojomError(f"{self.path}:{ref.line}: nullable strings are not supported")
        if ref.name == "array":
            self.check(ref.element)
        else:
            self.kind(ref)

    def storage(self, ref: TypeRef) -> str:
        """The type of a record field or of a value held in a message."""
        if ref.name in PRIMITIVES:
            return PRIMITIVES[ref.name]
        if ref.name == "array":
            return f"std::vector<{self.storage(ref.element)}>"
        kind = self.kind(ref)
        if isinstance(kind, Enum):
            return kind.name
        if isinstance(kind, Interface):
            return f"{kind.name}Request" if ref.is_request else f"{kind.name}Ptr"
        if self.is_typemapped(ref):
            return kind.cpp_type
        return f"{kind.name}Ptr"

    def payload_storage(self, ref: TypeRef) -> str:
        """Interface pointers travel unbound and are bound on the receiving sequence."""
        kind = self.kind(ref)
        if isinstance(kind, Interface) and not ref.is_request:
            return f"mojo::InterfacePtrInfo<{kind.name}>"
        return self.storage(ref)

    def is_pod(self, ref: TypeRef) -> bool:
        if ref.name in PRIMITIVES:
            return ref.name != "string"
        if ref.name == "array":
            return False
        kind = self.kind(ref)
        return isinstance(kind, Enum) or self.is_typemapped(ref)

    def is_copyable(self, ref: TypeRef) -> bool:
        if ref.name in PRIMITIVES:
            return True
        if ref.name == "array":
            return self.is_copyable(ref.element)
        kind = self.kind(ref)
        return isinstance(kind, Enum) or self.is_typemapped(ref)

    def param(self, ref: TypeRef) -> str:
        """Plain values by value, copyable containers by const reference, the rest moved in."""
        text = self.storage(ref)
        if self.is_pod(ref) or not self.is_copyable(ref):
            return text
        return f"const {text}&"

    def passes_by_move(self, ref: TypeRef) -> bool:
        return not self.is_copyable(ref)

    def default_init(self, ref: TypeRef) -> str:
        if ref.name == "array" and ref.fixed_size is not None:
            return f"{ref.fixed_size}"
        if self.is_pod(ref) and not self.is_typemapped(ref):
            return "{}"
        return ""

    def validation(self, ref: TypeRef, expr: str, depth: int = 0):
        """A C++ condition that holds when `expr` is well formed, or None when anything is."""
        if ref.name in PRIMITIVES:
            return None
        if ref.name == "array":
            conditions = []
            if ref.fixed_size is not None:
                conditions.append(f"{expr}.size() == {ref.fixed_size}u")
            item = f"item{depth}"
            inner = self.validation(ref.element, item, depth + 1)
            if inner:
                conditions.append(
                    f"std::all_of({expr}.begin(), {expr}.end(), "
                    f"[](const auto& {item}) {{ return {inner}; }})")
            return " && ".join(conditions) if conditions else None
        kind = self.kind(ref)
        if isinstance(kind, Enum):
            return None if kind.extensible else f"IsKnownEnumValue({expr})"
        if isinstance(kind, Interface):
            if ref.nullable:
                return None
            return f"{expr}.is_pending()" if ref.is_request else f"{expr}.is_valid()"
        if self.is_typemapped(ref):
            return None
        check = f"internal::Validate{kind.name}(*{expr})"
        if ref.nullable:
            return f"({expr}.is_null() || {check})"
        return f"(!{expr}.is_null() && {check})"
