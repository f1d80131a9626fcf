DECLARE @x xml = '<r><a n="1"><b>x</b></a><a n="2"><b>y</b></a></r>', @k int = 2, @h int
SELECT @x.value('(/r/a[@n=sql:variable("@k")]/b)[1]', 'varchar(5)'), @x.query('//b[last()]'), @x.exist('/r/a[b="x"]')
SELECT t.c.value('@n', 'int'), t.c.value('../a[1]/@n', 'int') FROM @x.nodes('/r/a') AS t(c) CROSS APPLY t.c.nodes('b') AS u(d)
EXEC sp_xml_preparedocument @h OUTPUT, '<r><c id="1"><v>a</v></c></r>'
SELECT * FROM OPENXML(@h, '/r/c', 3) WITH (id int, v char(1))
EXEC sp_xml_removedocument @h
