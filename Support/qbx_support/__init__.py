"""What the demo, the tests, the benchmarks, the comparison and the fuzzing share.

server: starts and stops the embedded server; clients: wbemcli and pywbem behind one interface;
cimxml: CIM-XML requests; raw: HTTP connections that carry any bytes; arrays: array files for the
simulated array; exchanges: recorded requests and responses; testing: what only tests use.

The programs that use it are run with `python -m`, and PYTHONPATH names this folder's parent:
`./qbx` sets it, and add_python_test of Tests/CMakeLists.txt for ctest.
"""
