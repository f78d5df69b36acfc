# a+ d b+ a- b-, with d a dummy: after a+ the code is 10 and b+ is excited through d, so
# b follows a (b = a); the states are 00, 10, 11, 01.
.model dummy_follow
.inputs a
.outputs b
.dummy d
.graph
a+ d
d b+
b+ a-
a- b-
b- a+
.marking {<b-,a+>}
.end
