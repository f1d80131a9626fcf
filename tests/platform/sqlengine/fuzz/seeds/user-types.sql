CREATE TYPE dbo.Nm FROM nvarchar(20) NOT NULL
CREATE TYPE dbo.Lst AS TABLE (id int IDENTITY PRIMARY KEY, n Nm, q int DEFAULT 1 CHECK (q > 0), INDEX ix (n))
EXEC ('CREATE PROCEDURE Pt @l dbo.Lst READONLY, @k Nm = N''k'' AS SELECT COUNT(*), MAX(n), @k FROM @l')
DECLARE @v Lst
INSERT INTO @v (n, q) VALUES (N'a', 2)
EXEC Pt @v
EXEC sp_executesql N'SELECT n FROM @r', N'@r Lst READONLY', @v
SELECT CAST(1 AS Nm), TYPE_ID('dbo.Lst'), * FROM sys.table_types
DROP TYPE IF EXISTS Lst
