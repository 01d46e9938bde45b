# Turns the demangled names of symbols into those that Tests/Exports/exports.txt lists: functions
# without parameters, classes once. The members that every type of measurement has need no line.
s/^(vtable|typeinfo|typeinfo name|construction vtable|VTT) for //
s/\[abi:[a-z0-9]+\]//g
s/^([A-Za-z]+::[^(]*)\(.*/\1/
/^vexlo::[A-Za-z]+::(kind|words|json)$/d
