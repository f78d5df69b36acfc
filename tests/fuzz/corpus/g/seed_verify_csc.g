# a+ a- x+ x-: the code 00 holds before a+ and after a-, where x+ is excited.
.model csc
.inputs a
.outputs x
.graph
a+ a-
a- x+
x+ x-
x- a+
.marking {<x-,a+>}
.end
