# a+ a- d1 b+ b-, with d1 a dummy: the code is 00 at the start, where only a+ is excited,
# and again after a+ a-, where b+ is excited through d1: a CSC conflict for b.
.model dummy_csc
.inputs a
.outputs b
.dummy d1
.graph
a+ a-
a- d1
d1 b+
b+ b-
b- a+
.marking {<b-,a+>}
.end
