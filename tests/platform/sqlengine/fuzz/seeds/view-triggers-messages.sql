CREATE TABLE P (id int PRIMARY KEY, n varchar(10))
EXEC ('CREATE VIEW V AS SELECT id, n, n + ''x'' AS m FROM P')
EXEC ('CREATE TRIGGER VI ON V INSTEAD OF INSERT, UPDATE, DELETE AS
INSERT INTO P SELECT id, n FROM inserted WHERE id NOT IN (SELECT id FROM deleted)')
INSERT INTO V (id, n) VALUES (1, 'a'), (2, 'b')
UPDATE V SET n = 'c' WHERE id = 1
DELETE FROM V WHERE id = 2
SELECT TOP (1) WITH TIES id, n FROM P ORDER BY n DESC
EXEC sp_addmessage 50001, 16, N'%s and %d', @replace = 'replace'
RAISERROR(50001, -1, 1, 'x', 5)
SELECT FORMATMESSAGE(50001, 'y', 6), * FROM sys.messages
EXEC sp_dropmessage 50001
