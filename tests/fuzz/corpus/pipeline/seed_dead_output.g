# x follows the input a; the output y has no transition, so it stays 0 and its functions
# are constants with an empty support.
.model dead_output
.inputs a
.outputs x y
.graph
a+ x+
x+ a-
a- x-
x- a+
.marking {<x-,a+>}
.end
