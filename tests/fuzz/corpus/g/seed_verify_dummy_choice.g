# A choice at p0 between a+ b+ a- b- and a+/1 d b+/1 a-/1 b-/1, with d a dummy: after either
# rise of a the code is 10 and b+ is excited, directly or through d. No CSC conflict; b = a.
.model dummy_choice
.inputs a
.outputs b
.dummy d
.graph
p0 a+ a+/1
a+ b+
a+/1 d
d b+/1
b+ a-
b+/1 a-/1
a- b-
a-/1 b-/1
b- p0
b-/1 p0
.marking {p0}
.end
