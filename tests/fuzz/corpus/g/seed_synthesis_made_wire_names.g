# Outputs x and x_SET: x rises after a+, x_SET after x+, and they fall in the same order
# after a-. The standard-C netlist must not make a wire x_SET for x's set function.
.inputs a
.outputs x x_SET
.graph
a+ x+
x+ x_SET+
x_SET+ a-
a- x-
x- x_SET-
x_SET- a+
.marking {<x_SET-,a+>}
.end
