"""Counts its own starts in a document: settings.py LIBRARY MODULE DOCUMENT"""
import sys
from ctypes import CDLL, CFUNCTYPE, POINTER, byref, c_char_p, c_int32, c_size_t, c_uint32, c_void_p, cast

OPEN_KEY, GET_VALUE, SET_VALUE, SAVE = 0, 6, 9, 22   # positions in ArborMethods
TYPE_DWORD, NO_SUCH_ENTRY, OPEN_CREATE = 4, 0x8000D002 - 2**32, 2
library, module, document = sys.argv[1:]
host, store = CDLL(library), c_void_p()

def check(code):
    if code < 0:   # there are successes other than 0
        sys.exit(f"{document}: {code & 0xFFFFFFFF:#x}")

def method(position, *types):
    table = cast(store, POINTER(POINTER(c_void_p)))[0]   # the first word of the ArborObject
    return lambda *arguments: CFUNCTYPE(c_int32, c_void_p, *types)(table[position])(store, *arguments)

check(host.ArborOpen(module.encode(), document.encode(), OPEN_CREATE, byref(store)))
open_key = method(OPEN_KEY, c_void_p, c_size_t, c_char_p, c_uint32)
get_value = method(GET_VALUE, c_void_p, c_size_t, c_char_p, c_void_p, c_void_p, c_uint32)
set_value = method(SET_VALUE, c_size_t, c_char_p, c_uint32, c_void_p, c_uint32, c_uint32)
key, starts = c_size_t(), c_uint32()
check(open_key(byref(key), 0, b"Host", 1))
code = get_value(None, key, b"Starts", byref(c_uint32(TYPE_DWORD)), byref(starts), 4)
if code != NO_SUCH_ENTRY:
    check(code)
check(set_value(key, b"Starts", TYPE_DWORD, byref(c_uint32(starts.value + 1)), 4, 1))
check(method(SAVE, c_size_t)(0))
print(f"Host/Starts = {starts.value + 1}")
host.ArborClose(store)
