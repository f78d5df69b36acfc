# a+ a- b+ x+ b- x-: the code 000 holds before a+ and after a-, where only inputs are
# excited (a, then b): a USC conflict that is no CSC conflict. x follows b: normal.
.model excitation
.inputs a b
.outputs x
.graph
a+ a-
a- b+
b+ x+
x+ b-
b- x-
x- a+
.marking {<x-,a+>}
.end
