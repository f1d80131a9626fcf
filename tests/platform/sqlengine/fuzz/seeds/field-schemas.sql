CREATE XML SCHEMA COLLECTION dbo.S AS N'<schema/>'
CREATE TABLE t (a int PRIMARY KEY, x xml(CONTENT dbo.S), c AS (dbo.f(a)), n hierarchyid, l AS (n.GetLevel()))
EXEC sp_addextendedproperty @name = N'd', @value = 1, @level0type = N'SCHEMA', @level0name = N'dbo', @level1type = N'TABLE', @level1name = N't', @level2type = N'COLUMN', @level2name = N'a'
SELECT * FROM fn_listextendedproperty(NULL, 'schema', 'dbo', 'table', default, 'column', NULL)
SELECT p.name, SERVERPROPERTY('ProductVersion') FROM sys.extended_properties p LEFT JOIN (sys.objects o JOIN sys.schemas s ON s.schema_id = o.schema_id) ON o.object_id = p.major_id
EXEC sp_executesql @statement = N'SELECT 1'
