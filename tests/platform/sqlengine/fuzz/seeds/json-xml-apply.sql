CREATE TABLE J (id int, doc nvarchar(max))
INSERT INTO J VALUES (1, N'{"a":{"b":[1,2,{"c":"x"}]},"s":"t\u0041"}')
SELECT JSON_VALUE(doc, 'strict $.a.b[2].c'), JSON_QUERY(doc, '$.a'), JSON_MODIFY(doc, 'append $.a.b', 3), ISJSON(doc) FROM J
SELECT j.id, k.[key], k.value, k.type FROM J j CROSS APPLY OPENJSON(j.doc, '$.a.b') k
SELECT * FROM OPENJSON(N'[{"x":1}]') WITH (x int '$.x', y nvarchar(max) '$' AS JSON)
SELECT id AS [@id], doc AS [a/b] FROM J FOR XML PATH('r'), ROOT('t')
SELECT STUFF((SELECT ',' + doc FROM J FOR XML PATH(''), TYPE).value('.', 'nvarchar(max)'), 1, 1, '')
SELECT id AS [x.y], (SELECT 1 AS n FOR JSON PATH) AS z FROM J FOR JSON PATH, ROOT('r')
SELECT j.id, t.n FROM J j OUTER APPLY (SELECT TOP 1 id AS n FROM J i WHERE i.id = j.id) t
