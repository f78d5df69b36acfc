# An STG with a dummy between an input and an output: a+ d b+ a- b- and back.
.model handshake
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
