# A choice between a+ x+ a- x- and b+ b- x+ x-: the first x+ follows a rise, the second
# a fall.
.model contradictory
.inputs a b
.outputs x
.graph
p0 a+ b+
a+ x+/1
x+/1 a-
a- x-/1
x-/1 p0
b+ b-
b- x+/2
x+/2 x-/2
x-/2 p0
.marking {p0}
.end
